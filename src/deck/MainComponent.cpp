#include "deck/MainComponent.h"
#include "ui/CommandIDs.h"
#include "engine/AudioFileGuard.h"
#include "ui/Alerts.h"
#include "ui/Palette.h"

namespace Marlode
{

namespace
{
    constexpr int panelButtonWidth = 75;
    constexpr int panelButtonHeight = 25;
    constexpr int minimumPanelHeight = 300;

    // Files whose name no registered format claims.
    const Alerts::FileListQuestion invalidFiles {
        "Invalid Files",
        " you selected could not be loaded.\nThe file{ extension is| extensions are} not a valid format.",
        "\n\n",
        "Invalid Files",
        "The following file's{ extension is| extensions are} not a valid format.\n\nParent Directory:\n\n",
        false
    };
}

MainComponent::MainComponent (juce::KeyPressMappingSet* keyMappingsToUse, PopupDisplayComponent*& activePopupSlot)
    : trackDeck (*formatManager, engine, playlist), playlist (*formatManager, activePopupSlot),
      waveform (*formatManager, engine, waveformBackground), keyMappings (keyMappingsToUse), activePopup (activePopupSlot)
{
    setWantsKeyboardFocus (true);

    addAndMakeVisible (waveformBackground);
    addAndMakeVisible (waveform);
    addAndMakeVisible (playlist);
    addChildComponent (deckEQ);
    addChildComponent (deckFX);
    addAndMakeVisible (inputMeter);
    addAndMakeVisible (outputMeter);
    addAndMakeVisible (timer);
    addAndMakeVisible (transport);
    addAndMakeVisible (trackName);
    addAndMakeVisible (resizeBar);

    for (auto* b : { &playlistButton, &deckEQButton, &fxButton, &analysisButton, &clearButton })
    {
        b->setWantsKeyboardFocus (false);
        b->setMouseClickGrabsKeyboardFocus (false);
        addAndMakeVisible (b);
    }

    analysisButton.setClickingTogglesState (true);
    inputMeter.surround.addListener (this);
    outputMeter.surround.addListener (this);

    transport.playButton.onClick = [this] { trackDeck.playButtonClicked(); };
    transport.stopButton.onClick = [this] { trackDeck.stopButtonClicked(); };
    transport.skipForwardButton.onClick = [this] { trackDeck.nextTrack(); };
    transport.skipBackwardButton.onClick = [this] { trackDeck.previousTrack(); };
    waveform.openButton.onClick = [this] { openTrack (true); };
    trackDeck.autoPlay.referTo (waveform.autoPlayButton.getToggleStateValue());
    trackDeck.playNext.referTo (waveform.playNextButton.getToggleStateValue());
    transport.setEnabled (false);

    playlistButton.onClick = [this] { showPanel (Panel::playlist); };
    deckEQButton.onClick = [this] { showPanel (Panel::eq); };
    fxButton.onClick = [this] { showPanel (Panel::fx); };
    clearButton.onClick = [this] { playlist.clear(); };
    analysisButton.onClick = [this] { playlist.showAnalysePanel (analysisButton.getToggleState()); };

    resizeBar.onDrag = [this] (int offset) { setResizeDrag (offset); };

    playlist.fileFilter = [this] (const juce::StringArray& paths)
    { return vetFiles (PlaylistComponent::filesFromPaths (paths)); };

    playlist.addListener (this);
    waveform.addListener (this);
    trackDeck.addListener (this);

    for (TimerRelayListener* l : { static_cast<TimerRelayListener*> (&timer), static_cast<TimerRelayListener*> (&waveform),
                                   static_cast<TimerRelayListener*> (&inputMeter),
                                   static_cast<TimerRelayListener*> (&outputMeter), static_cast<TimerRelayListener*> (&deckEQ) })
        relayListeners.add (l);

    const auto [eq, effects, limiter] = stages();
    engine.setStages (eq, effects, limiter);
    engine.setStretcher (&timeStretch.stretcher);

    showPanel (Panel::playlist);
}

MainComponent::~MainComponent()
{
    engine.setStretcher (nullptr);
    engine.setStages (nullptr, nullptr, nullptr);
    trackDeck.removeListener (this);
    playlist.removeListener (this);
    waveform.removeListener (this);
}

//==============================================================================
void MainComponent::prepareToPlay (int blockSize, double sampleRate)
{
    liveBlockSize = blockSize;
    liveSampleRate = sampleRate;
    engine.prepare (blockSize, sampleRate);
}

std::array<BlockProcessor*, 3> MainComponent::stages() noexcept
{
    return { &deckEQ.equaliser, &deckFX.mono.effects, &deckFX.limiter.limiter };
}

//==============================================================================
void MainComponent::openFiles (const juce::Array<juce::File>& files)
{
    validateAndAdd (files);
}

juce::StringArray MainComponent::vetFiles (const juce::Array<juce::File>& chosen)
{
    juce::StringArray valid;
    juce::StringArray invalid;

    auto consider = [&] (const juce::File& f)
    {
        if (formatManager->findFormatForFileExtension (f.getFileExtension()) != nullptr)
            valid.add (f.getFullPathName());
        else
            invalid.add (f.getFullPathName());
    };

    for (const auto& f : chosen)
    {
        if (f.isDirectory())
            for (const auto& child : f.findChildFiles (juce::File::findFiles | juce::File::ignoreHiddenFiles, true, "*",
                                                       juce::File::FollowSymlinks::noCycles))
                consider (child);
        else
            consider (f);
    }

    Alerts::askToListFiles (invalidFiles, invalid, this);
    return valid;
}

void MainComponent::validateAndAdd (const juce::Array<juce::File>& chosen)
{
    if (playlist.openPlaylistFiles (chosen, true))
        return;

    const auto valid = vetFiles (chosen);

    if (! valid.isEmpty())
        playlist.addFiles (valid, true, true, -1);
}

void MainComponent::openTrack (bool)
{
    chooser = std::make_unique<juce::FileChooser> ("Select files to open", juce::File(), "*", false);
    const auto chooserFlags = juce::FileBrowserComponent::openMode | juce::FileBrowserComponent::canSelectFiles
                              | juce::FileBrowserComponent::canSelectMultipleItems;

    chooser->launchAsync (chooserFlags, [this] (const juce::FileChooser& fc) { validateAndAdd (fc.getResults()); });
}

void MainComponent::openFolder()
{
    chooser = std::make_unique<juce::FileChooser> ("Select a folder to load files from", juce::File(), "*", false);
    const auto chooserFlags = juce::FileBrowserComponent::openMode | juce::FileBrowserComponent::canSelectDirectories;

    chooser->launchAsync (chooserFlags, [this] (const juce::FileChooser& fc) { validateAndAdd (fc.getResults()); });
}

void MainComponent::openPlaylist()
{
    chooser = std::make_unique<juce::FileChooser> ("Select a Sondrel playlist .xml file", juce::File(), "*.xml", false);
    const auto chooserFlags = juce::FileBrowserComponent::openMode | juce::FileBrowserComponent::canSelectFiles;

    chooser->launchAsync (chooserFlags, [this] (const juce::FileChooser& fc) { validateAndAdd (fc.getResults()); });
}

void MainComponent::saveButtonClicked()
{
    if (playlist.getPlaylistXml() == nullptr)
    {
        Alerts::warning ("Save Playlist", "The playlist is empty: there is nothing to save.");
        return;
    }

    chooser = std::make_unique<juce::FileChooser> ("Choose a playlist file name and location", juce::File(), "*.xml", false);
    const auto chooserFlags = juce::FileBrowserComponent::saveMode | juce::FileBrowserComponent::canSelectFiles
                              | juce::FileBrowserComponent::warnAboutOverwriting;

    chooser->launchAsync (chooserFlags,
                          [this] (const juce::FileChooser& fc)
                          {
                              const auto chosen = fc.getResult();

                              if (chosen == juce::File())
                                  return;

                              const auto target = chosen.withFileExtension (".xml");

                              if (! playlist.savePlaylist (target))
                                  Alerts::warning ("Save Playlist",
                                                   "The playlist couldn't be written to " + target.getFullPathName());
                          });
}

void MainComponent::exportAudioButtonClicked()
{
    if (! trackDeck.hasTrack())
    {
        Alerts::warning ("Export Audio", "No track is loaded.");
        return;
    }

    // The render runs the deck's own stages, which the device's block must then leave alone: a
    // block runs them only while the deck plays.
    if (const auto state = trackDeck.getState(); state != TransportState::Stopped && state != TransportState::Paused)
        trackDeck.stopButtonClicked();

    const juce::File track (trackDeck.getCurrentTrackPath());
    exportWriter.reader = AudioFileGuard::createReader (getFormatManager(), track);
    if (exportWriter.reader == nullptr)
    {
        Alerts::warning ("Error reading files", PlaylistComponent::couldNotBeRead (1) + "\n\n" + track.getFullPathName());
        return;
    }

    exportWriter.sourceFile = track;
    exportWriter.timeStretch = engine.timeStretchOn.load() ? &timeStretch.stretcher : nullptr;
    exportWriter.blockSize = liveBlockSize;
    exportWriter.prepareChain = [this] (double rate, int block, int channels)
    {
        for (auto* stage : stages())
            stage->prepare (rate, block, channels);
    };
    exportWriter.processBlock = [this] (const juce::AudioSourceChannelInfo& info)
    {
        for (auto* stage : stages())
            stage->process (info);
    };
    exportWriter.onFinished = [this]
    {
        for (auto* stage : stages())
            stage->prepare (liveSampleRate, liveBlockSize, DeckEngine::numChannels);
    };

    exportPanel = std::make_unique<AudioFileExportComponent> (exportWriter, activePopup);
    showPopup (*exportPanel);
}

void MainComponent::showPopup (PopupDisplayComponent& popup)
{
    // Over the whole window when the deck is in one, so it dims the master strip as well.
    auto* host = getParentComponent() != nullptr ? getParentComponent() : this;
    host->addChildComponent (popup);
    popup.show();
}

bool MainComponent::isInterestedInFileDrag (const juce::StringArray&)
{
    return true;
}

void MainComponent::filesDropped (const juce::StringArray& files, int, int)
{
    validateAndAdd (PlaylistComponent::filesFromPaths (files));
}

//==============================================================================
void MainComponent::showPanel (Panel p)
{
    panel = p;
    playlist.setVisible (p == Panel::playlist);
    analysisButton.setVisible (p == Panel::playlist);
    clearButton.setVisible (p == Panel::playlist);
    deckEQ.setVisible (p == Panel::eq);
    deckFX.setVisible (p == Panel::fx);
    resized();
    repaint();
}

void MainComponent::getState (DeckState& state) const
{
    state.windowRatio = windowRatio;
    playlist.getState (state);
    inputMeter.getState (state);
    outputMeter.getState (state);
    state.autoPlay = waveform.autoPlayButton.getToggleState();
    state.playNext = waveform.playNextButton.getToggleState();
    deckEQ.getState (state);
    deckFX.getState (state);
    timeStretch.getState (state);

    // A deck's own state has every part, so that it can be set again as it is.
    state.hasEQSettings = state.hasFXWindow = state.hasAnalyseSettings = true;
}

void MainComponent::setState (const DeckState& state)
{
    windowRatio = (float) juce::jlimit (0.0, 1.0, state.windowRatio);
    resized();
    playlist.setState (state);
    inputMeter.setState (state);
    outputMeter.setState (state);
    waveform.autoPlayButton.setToggleState (state.autoPlay, juce::sendNotificationSync);
    waveform.playNextButton.setToggleState (state.playNext, juce::sendNotificationSync);
    deckEQ.setState (state);

    if (state.hasFXWindow)
    {
        deckFX.setState (state);
        timeStretch.setState (state);
    }
}

std::unique_ptr<juce::XmlElement> MainComponent::getDeckStateXml (int index) const
{
    DeckState state;
    getState (state);
    return state.createXml (index);
}

void MainComponent::setResizeDrag (int offset)
{
    if (dragOffset == 0 && offset != 0)
        ratioAtDragStart = windowRatio;

    dragOffset = offset;
    resized();
    dragOffset = 0;

    if (offset == 0)
        ratioAtDragStart = windowRatio;
}

void MainComponent::resized()
{
    const int w = getWidth(), h = getHeight();

    const auto ratio = dragOffset != 0 ? ratioAtDragStart : windowRatio;
    upperPanelHeight = (int) (ratio * (float) h + (float) dragOffset);
    if (upperPanelHeight < minimumPanelHeight)
        upperPanelHeight = minimumPanelHeight;
    if (upperPanelHeight > h - minimumPanelHeight)
        upperPanelHeight = h - minimumPanelHeight;
    if (dragOffset != 0 && h > 0)
        windowRatio = (float) upperPanelHeight / (float) h;

    const int iw = juce::jmax (w - 20, 0);
    const int ih = juce::jmax (juce::jmax (h - 20, 0) + 10, 0);

    // Top strip with the panel buttons.
    const int strip = juce::jmin (ih, panelButtonHeight);
    const int buttonY = -((panelButtonHeight - strip) / 2);
    const int firstX = (iw - panelButtonWidth) / 2 - panelButtonWidth;
    playlistButton.setBounds (firstX, buttonY, panelButtonWidth, panelButtonHeight);
    deckEQButton.setBounds (firstX + 85, buttonY, panelButtonWidth, panelButtonHeight);
    fxButton.setBounds (firstX + 170, buttonY, panelButtonWidth, panelButtonHeight);
    analysisButton.setBounds (firstX + 170 + 160, buttonY, panelButtonWidth, panelButtonHeight);
    clearButton.setBounds (firstX + 170 + 245, buttonY, panelButtonWidth, panelButtonHeight);

    auto* selected = panel == Panel::playlist ? &playlistButton : panel == Panel::eq ? &deckEQButton : &fxButton;
    panelHighlight = juce::Rectangle<int> (85, 35).withCentre (selected->getBounds().getCentre());

    // Upper panel.
    const int uh = juce::jmin (ih - strip, upperPanelHeight);
    const auto upper = juce::Rectangle<int> (10, strip, iw, uh).withTrimmedTop (juce::jmin (5, uh));
    playlist.setBounds (upper);
    deckEQ.setBounds (upper);
    deckFX.setBounds (upper.withSizeKeepingCentre (juce::jmin (iw, 1000), 290).withY (upper.getY()));

    const int barHeight = juce::jmin (ih - strip - uh, 10);
    resizeBar.setBounds (10, strip + uh, iw, barHeight);

    // Lower panel: meters at the sides, the waveform between, the transport strip underneath.
    const int ly = strip + uh + barHeight;
    const int lh = juce::jmax (0, ih - ly);
    const int mw = juce::jmin (iw, 75);
    const int outWidth = juce::jmin (iw - mw, 75);
    const int sp = iw - mw - outWidth;
    inputMeter.setBounds (10, ly, mw, lh);
    outputMeter.setBounds (iw - outWidth + 10, ly, outWidth, lh);

    const int ts = juce::jmin (lh, 100);
    const auto waveformBounds = juce::Rectangle<int> (mw + 20, ly, juce::jmax (sp, 20) - 20, juce::jmax (lh - ts, 0));
    waveform.setBounds (waveformBounds);
    waveformBackground.setBounds (waveformBounds);

    const int stripY = ly + lh - ts;
    const int labelLack = juce::jmax (0, 50 - ts) / 2;
    trackName.setBounds (mw + (sp - 650) / 2 + 10, stripY + 10 - labelLack, 645, 30);

    const int rowTop = trackName.getBottom();
    const int rowHeight = juce::jmax (0, stripY + ts - rowTop);
    const int rowY = rowTop + (rowHeight - 50) / 2;
    const int rowX = mw + (sp - 400) / 2 + 5;
    timer.setBounds (rowX, rowY, 200, 50);
    transport.setBounds (rowX + 210, rowY, 200, 50);

    const auto outline = [] (juce::Component& c) { return c.getBounds().toFloat().expanded (2.0f); };
    playlistOutline = outline (playlist);
    waveformOutline = outline (waveform);
}

void MainComponent::paint (juce::Graphics& g)
{
    g.setColour (panelMidColour);
    g.fillRoundedRectangle (panelHighlight.toFloat(), 5.0f);

    g.setColour (midGreyColour);

    if (showPlaylistOutline && playlist.isVisible())
        g.drawRoundedRectangle (playlistOutline, 4.0f, 1.5f);
    if (showWaveformOutline)
        g.drawRoundedRectangle (waveformOutline, 4.0f, 1.5f);
}

//==============================================================================
void MainComponent::timerRelayCallback()
{
    tickRelayListeners();
}

void MainComponent::resetMeters()
{
    inputMeter.reset();
    outputMeter.reset();
}

void MainComponent::resetHeldMeters()
{
    // A held maximum belongs to the track it was measured on.
    for (auto* meter : { &inputMeter, &outputMeter })
        if (meter->maxPeakHold)
            meter->reset();
}

void MainComponent::trackLoaded (const juce::File& file)
{
    resetHeldMeters();
    waveform.clearTrack();
    waveform.loadTrack (file);
    transport.setEnabled (true);
    trackName.setText (file.getFileNameWithoutExtension());
    timer.setTrackLength (engine.transport.getLengthInSeconds());
}

void MainComponent::trackUnloaded()
{
    resetHeldMeters();
    waveform.clearTrack();
    transport.setEnabled (false);
    trackName.setText (TrackNameLabel::noTrackText);
}

void MainComponent::playStateChanged (TransportState state)
{
    // The play marks show Playing; the passing states leave them as they were.
    if (state == TransportState::Playing || state == TransportState::Paused || state == TransportState::Stopped)
    {
        const bool on = state == TransportState::Playing;
        transport.playButton.setToggleState (on, juce::dontSendNotification);
        playlist.setPlayingIndicator (on);
    }

    if (onPlayStateChanged != nullptr)
        onPlayStateChanged (*this);
}

void MainComponent::newTrackSelected (const juce::String& path)
{
    if (juce::File::isAbsolutePath (path))
        trackDeck.loadTrack (juce::File (path));
}

void MainComponent::currentTrackDeleted()
{
    trackDeck.unloadTrack();
}

void MainComponent::ejectRequested()
{
    trackDeck.unloadTrack();
}

void MainComponent::seekRequested (double seconds)
{
    trackDeck.seek (seconds);
    waveform.updatePlayhead();
}

void MainComponent::playlistFocusChanged()
{
    focusChanged();
}

void MainComponent::focusChanged()
{
    auto* focused = juce::Component::getCurrentlyFocusedComponent();
    showPlaylistOutline = focused != nullptr && (focused == &playlist || playlist.isParentOf (focused));
    showWaveformOutline = focused == &waveform;

    if (showPlaylistOutline || showWaveformOutline)
        waveformHadFocus = showWaveformOutline;

    repaint();
}

void MainComponent::showMeterSettings (LevelMeter& meter)
{
    meterSettings = std::make_unique<LevelMeterSettingsComponent> (meter.getSelectedTypeName(), meter, activePopup);
    showPopup (*meterSettings);
}

void MainComponent::buttonClicked (juce::Button* button)
{
    if (button == &inputMeter.surround || button == &outputMeter.surround)
    {
        showMeterSettings (button == &inputMeter.surround ? inputMeter : outputMeter);
        return;
    }

    if (button != deckTab || deckTab == nullptr)
        return;

    if (! deckTab->getToggleState())
    {
        setVisible (false);

        const auto state = trackDeck.getState();

        // A deck still starting is as good as playing: left alone it would play on unheard.
        const bool handedOver = handsOverOnSwitch != nullptr && handsOverOnSwitch();
        if (! handedOver && (state == TransportState::Playing || state == TransportState::Starting))
            trackDeck.changeState (TransportState::Pausing);
    }
    else if (! isVisible())
    {
        setVisible (true);
        if (isShowing())
            grabKeyboardFocus();
        restoreFocus();
    }
}

//==============================================================================
void MainComponent::getAllCommands (juce::Array<juce::CommandID>& commands)
{
    for (int id = CommandIDs::playPause; id <= CommandIDs::showFX; ++id)
        commands.add (id);

    commands.add (CommandIDs::resetMeters);
}

void MainComponent::getCommandInfo (juce::CommandID id, juce::ApplicationCommandInfo& result)
{
    CommandIDs::fillInfo (id, result);
}

bool MainComponent::perform (const InvocationInfo& info)
{
    using namespace CommandIDs;
    auto& w = waveform;
    auto flip = [] (juce::Button& b) { b.setToggleState (! b.getToggleState(), juce::sendNotification); };

    switch (info.commandID)
    {
        case playPause: trackDeck.playButtonClicked(); break;
        case CommandIDs::playFromStart:
            trackDeck.playFromStart();
            waveform.updatePlayhead();
            break;
        case stop: trackDeck.stopButtonClicked(); break;
        case previousTrack: trackDeck.previousTrack(); break;
        case nextTrack: trackDeck.nextTrack(); break;
        case skipForward:
        case skipBack:
        case jumpForward:
        case jumpBack: skipOrJump (info.commandID); break;
        case replayLeft:
        case replayRight: w.nudgeReplay (info.commandID == replayRight); break;
        case loopStartLeft:
        case loopStartRight: w.nudgeLoopStart (info.commandID == loopStartRight); break;
        case loopEndLeft:
        case loopEndRight: w.nudgeLoopEnd (info.commandID == loopEndRight); break;
        case scrollLeft:
        case scrollRight: w.scrollView (info.commandID == scrollRight); break;
        // No pointer position: each zoom keeps its marker in place.
        case zoomIn: w.zoomIn (0, 0.0); break;
        case zoomOut: w.zoomOut (0, 0.0); break;
        case zoomInReplay: w.zoomIn (1, 0.0); break;
        case zoomOutReplay: w.zoomOut (1, 0.0); break;
        case zoomInLoopStart: w.zoomIn (2, 0.0); break;
        case zoomOutLoopStart: w.zoomOut (2, 0.0); break;
        case zoomInLoopEnd: w.zoomIn (3, 0.0); break;
        case zoomOutLoopEnd: w.zoomOut (3, 0.0); break;
        case setReplayMarker: w.setReplayMarker(); break;
        case setLoopStartMarker: w.setLoopStartMarker(); break;
        case setLoopEndMarker: w.setLoopEndMarker(); break;
        case loopToStart: w.setLoopToStartOfTrack(); break;
        case loopToEnd: w.setLoopToEndOfTrack(); break;
        case autoPlayToggle: flip (w.autoPlayButton); break;
        case followToggle: flip (w.followButton); break;
        case replayToggle: flip (w.replayButton); break;
        case loopToggle: flip (w.loopButton); break;
        case openFile: openTrack (true); break;
        case showPlaylist: showPanel (Panel::playlist); break;
        case showEQ: showPanel (Panel::eq); break;
        case showFX: showPanel (Panel::fx); break;
        case CommandIDs::resetMeters:
            resetMeters();
            repaint();
            break;
        default: return false;
    }

    return true;
}

void MainComponent::skipOrJump (int command)
{
    using Move = MarkerModel::Move;
    const auto move = command == CommandIDs::skipForward   ? Move::skipForward
                      : command == CommandIDs::skipBack    ? Move::skipBack
                      : command == CommandIDs::jumpForward ? Move::jumpForward
                                                           : Move::jumpBack;

    // While stopped the steps follow the zoom.
    if (! trackDeck.skipOrJump (move, waveform.viewSpan / waveform.markerNudgeDivisor) || engine.transport.isPlaying())
        return;

    // No block moves the view while stopped, so it is drawn at the new place now.
    if (waveform.followButton.getToggleState())
        waveform.redrawWaveformImages();
    else
        waveform.updatePlayhead();
}

void MainComponent::restoreFocus()
{
    if (waveformHadFocus && waveform.isShowing())
        waveform.grabKeyboardFocus();
    else if (playlist.isShowing())
        playlist.grabKeyboardFocus();
    else if (waveform.isShowing())
        waveform.grabKeyboardFocus();
}

} // namespace Marlode
