#include "app/MainAudioAppComponent.h"
#include "ui/CommandIDs.h"
#include "ui/Alerts.h"
#include "ui/SondrelLookAndFeel.h"
#include "state/EncryptedXml.h"
#include "dsp/LoudnessMatch.h"

#include <cmath>

namespace Marlode
{

namespace
{
    constexpr int maxDecks = 4;

    juce::String& outputDeviceNameSlot()
    {
        static juce::String name ("None");
        return name;
    }
}

juce::String MainAudioAppComponent::currentOutputDeviceName()
{
    JUCE_ASSERT_MESSAGE_THREAD
    return outputDeviceNameSlot();
}

MainAudioAppComponent::MainAudioAppComponent (bool openAudioDevice, const juce::File& sessionFileToUse)
    : sessionFile (sessionFileToUse)
{
    setOpaque (true);
    addAndMakeVisible (titleBar);
    titleBar.onMenuItem = [this] (int id) { menuItemChosen (id); };
    titleBar.onMenuDismissed = [this]
    {
        if (auto* deck = getCurrentDeck())
            deck->restoreFocus();
    };
    titleBar.onCloseClicked = [this] { askApplicationToQuit(); };

    commandManager.registerAllCommandsForTarget (this);
    commandManager.setFirstCommandTarget (this);
    addKeyListener (commandManager.getKeyMappings());
    titleBar.addKeyListener (commandManager.getKeyMappings());

    addAndMakeVisible (volumeAndPan);
    addAndMakeVisible (levelLights);
    addAndMakeVisible (masterEQButton);
    addAndMakeVisible (comparison);
    comparison.blindTestButton.onClick = [this] { blindTest.showWindow(); };
    comparison.onChange = [this]
    {
        updateComparison();
        resized(); // the tabs make room for their gains
    };
    relayListeners.add (&levelLights);
    relayListeners.add (&masterEQ);
    masterEngine.setEqualiser (&masterEQ.equaliser);
    masterEQButton.setWantsKeyboardFocus (false);
    masterEQButton.onClick = [this] { outputEQWindow.showWindow(); };

    restoreSession (sessionFile == juce::File() ? nullptr
                                                : EncryptedXml::readEncryptedXml (sessionFile, EncryptedXml::sessionKey).get());

    // Keys go back to the deck when one of the window's own panels closes.
    for (auto* panel : std::initializer_list<PopupDisplayComponent*> { &settingsPanel, &welcome, &about })
    {
        addChildComponent (panel);
        panel->onClose = [this]
        {
            if (auto* deck = getCurrentDeck())
                deck->restoreFocus();
        };
    }
    addChildComponent (startupUpdate);
    addChildComponent (userUpdate);
    if (storedSettings.getBool (StoredSettings::checkForUpdates, true))
        startupUpdate.checkForUpdates();

    if (openAudioDevice)
        openOutputDevice();

    startTimer (33);
}

void MainAudioAppComponent::openOutputDevice()
{
    deviceManager.addChangeListener (this);
    setAudioChannels (0, numChannels, savedAudioState.get());

    // The device layer reports a device that is already open only through later changes.
    changeListenerCallback (&deviceManager);
}

MainAudioAppComponent::~MainAudioAppComponent()
{
    // Before anything goes; a session that can't be written is lost without a word.
    if (sessionFile != juce::File())
        EncryptedXml::writeEncryptedXml (*createSessionXml(), sessionFile, EncryptedXml::sessionKey);

    stopTimer();
    deviceManager.removeChangeListener (this);
    commandManager.setFirstCommandTarget (nullptr);

    // No audio callback may reach a deck once the decks start going.
    shutdownAudio();
    cancelPendingUpdate();
    masterEngine.forgetDecks();
}

//==============================================================================
void MainAudioAppComponent::prepareToPlay (int samplesPerBlockExpected, double deviceRate)
{
    blockSize = samplesPerBlockExpected;

    // The decks get the truncated rate and the master equaliser the exact one, on purpose.
    sampleRate = (int) deviceRate;

    for (auto* deck : decks)
        deck->prepareToPlay (blockSize, (double) sampleRate);

    masterEngine.prepare (blockSize, deviceRate);

    const auto setup = deviceManager.getAudioDeviceSetup();

    if (setup.outputDeviceName.contains ("Headset"))
        juce::MessageManager::callAsync (
            []
            {
                Alerts::warning ("Warning!", juce::String ("Bluetooth Headset output device chosen.") + "\r\n"
                                                 + "Audio quality is significantly reduced with this output option. "
                                                 + "Try choosing 'Headphones' instead if you notice audio quality is poor.");
            });
}

void MainAudioAppComponent::releaseResources()
{
    for (auto* deck : decks)
        deck->engine.transport.releaseResources();
}

void MainAudioAppComponent::getNextAudioBlock (const juce::AudioSourceChannelInfo& info)
{
    masterEngine.process (info);
}

MainComponent* MainAudioAppComponent::getCurrentDeck() const noexcept
{
    const auto* engine = masterEngine.getCurrentDeck();

    for (auto* deck : decks)
        if (&deck->engine == engine)
            return deck;

    return nullptr;
}

//==============================================================================
void MainAudioAppComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    if (source == &deviceManager)
    {
        const auto setup = deviceManager.getAudioDeviceSetup();
        const bool available = setup.outputDeviceName.isNotEmpty() && deviceManager.getCurrentAudioDevice() != nullptr;

        for (auto* deck : decks)
        {
            if (! available && deck->trackDeck.getState() == TransportState::Playing)
                deck->trackDeck.changeState (TransportState::Pausing);

            deck->trackDeck.audioDeviceAvailable = available;
        }

        outputDeviceNameSlot() = available ? setup.outputDeviceName : juce::String ("None");
    }
}

void MainAudioAppComponent::handleAsyncUpdate()
{
    // A deck asked to go while it played goes once its stop has arrived; after the deck's own
    // call has returned, as the deck is freed.
    if (auto* deck = getCurrentDeck(); deck != nullptr && deck->pendingDelete && ! deck->engine.isPlaying())
    {
        deck->pendingDelete = false;

        if (deleteAllPending)
        {
            deleteAllPending = false;
            deleteAllDecks();
        }
        else
        {
            deleteCurrentDeck();
        }
    }
}

void MainAudioAppComponent::buttonClicked (juce::Button*)
{
    setCurrentDeckFromButtons();
}

void MainAudioAppComponent::setCurrentDeckFromButtons()
{
    for (int i = 0; i < decks.size() && i < deckButtons.size(); ++i)
    {
        if (! deckButtons[i]->getToggleState())
            continue;

        auto* previous = getCurrentDeck();

        if (comparison.isMatchOn() && previous != nullptr && previous != decks[i])
            handOver (*previous, *decks[i]);
        else
            masterEngine.selectDeck (&decks[i]->engine);
    }

    if (comparison.isActive())
        updateComparison();
}

void MainAudioAppComponent::handOver (MainComponent& from, MainComponent& to)
{
    auto& next = to.trackDeck;

    if (next.hasTrack() && from.trackDeck.hasTrack())
        next.seek (juce::jlimit (0.0, to.engine.transport.getLengthInSeconds(), from.engine.getPosition()));

    const auto state = from.trackDeck.getState();
    const bool sounding = state == TransportState::Playing || state == TransportState::Starting;

    if (sounding && next.hasTrack() && next.audioDeviceAvailable)
    {
        if (const auto nextState = next.getState(); nextState == TransportState::Stopped || nextState == TransportState::Paused)
            next.playButtonClicked();

        masterEngine.crossfadeTo (&to.engine);
        fadingFrom = &from;
        return;
    }

    if (sounding)
        from.trackDeck.changeState (TransportState::Pausing);

    masterEngine.selectDeck (&to.engine);
}

BlindTestWindow::Decks MainAudioAppComponent::blindTestDecks()
{
    BlindTestWindow::Decks pair;
    pair.count = [this] { return decks.size(); };
    pair.whyNotReady = [this] (int a, int b) -> juce::String
    {
        for (const auto i : { a, b })
        {
            auto* deck = decks[i];
            if (deck == nullptr || ! deck->trackDeck.hasTrack())
                return "Deck " + juce::String (i + 1) + " has no track.";
            if (! deck->trackDeck.audioDeviceAvailable)
                return "No audio output device.";
            if (std::isnan (deck->playlist.getLoadedLoudness()))
            {
                deck->playlist.analyseLoadedRowInBackground();
                return "Measuring loudness...";
            }
        }
        return {};
    };
    pair.listenTo = [this] (int deck, int other) { listenBlind (deck, other); };
    pair.finish = [this] { endBlindTest(); };
    return pair;
}

void MainAudioAppComponent::listenBlind (int index, int otherIndex)
{
    auto *deck = decks[index], *other = decks[otherIndex];
    if (deck == nullptr || other == nullptr)
        return;

    const auto gains = LoudnessMatch::gainsDb ({ deck->playlist.getLoadedLoudness(), other->playlist.getLoadedLoudness() });
    deck->engine.matchGain = juce::Decibels::decibelsToGain ((float) gains[0]);
    other->engine.matchGain = juce::Decibels::decibelsToGain ((float) gains[1]);

    auto* heard = getCurrentDeck();
    if (heard == deck)
        return;

    if (heard == other)
        deck->trackDeck.seek (juce::jlimit (0.0, deck->engine.transport.getLengthInSeconds(), other->engine.getPosition()));

    if (const auto state = deck->trackDeck.getState(); state == TransportState::Stopped || state == TransportState::Paused)
        deck->trackDeck.playButtonClicked();

    // A third deck that was heard goes quiet for good; the pair keep playing for the next switch.
    if (heard != nullptr && heard != other && heard->engine.isPlaying())
        fadingFrom = heard;

    masterEngine.crossfadeTo (&deck->engine);
}

void MainAudioAppComponent::endBlindTest()
{
    updateComparison();

    MainComponent* shown = nullptr;
    for (int i = 0; i < decks.size() && i < deckButtons.size(); ++i)
        if (deckButtons[i]->getToggleState())
            shown = decks[i];

    if (shown != nullptr && getCurrentDeck() != shown)
        masterEngine.crossfadeTo (&shown->engine);

    // The pair played on unheard for the switches; the deck on show keeps whatever state it had.
    for (auto* deck : decks)
        if (deck != shown && deck->engine.isPlaying())
            deck->trackDeck.changeState (TransportState::Pausing);
}

void MainAudioAppComponent::showDebugWindow()
{
    debugWindow = std::make_unique<DebugDocumentWindow> (logLines != nullptr ? logLines() : juce::String());
    debugWindow->centreWithSize (debugWindow->getWidth(), debugWindow->getHeight());
    debugWindow->showWindow();
}

void MainAudioAppComponent::showSettings()
{
    settingsPanel.refresh();
    settingsPanel.show();
}

void MainAudioAppComponent::updateComparison()
{
    const auto texts = comparison.update (decks, getCurrentDeck());

    for (int i = 0; i < deckGainLabels.size() && i < texts.size(); ++i)
    {
        deckGainLabels[i]->setText (texts[i], juce::dontSendNotification);
        deckGainLabels[i]->setVisible (texts[i].isNotEmpty() && deckButtons[i]->isVisible());
    }
}

//==============================================================================
void MainAudioAppComponent::addDeck (const juce::XmlElement* deckState)
{
    if (decks.size() >= maxDecks)
        return;

    auto* deck = new MainComponent (commandManager.getKeyMappings(), activePopup);
    addChildComponent (deck);
    deck->prepareToPlay (blockSize, (double) sampleRate);

    if (deckState != nullptr)
        deck->setState (DeckState::fromXml (*deckState));

    deck->trackDeck.audioDeviceAvailable = outputDeviceNameSlot() != "None";
    deck->onPlayStateChanged = [this] (MainComponent&) { triggerAsyncUpdate(); };
    deck->handsOverOnSwitch = [this] { return comparison.isMatchOn(); };
    relayListeners.add (deck);
    commandManager.registerAllCommandsForTarget (deck);
    masterEngine.selectDeck (&deck->engine);

    deck->playlist.addListener (this);
    deck->playlist.getOtherDeckNumbers = [this]
    {
        juce::Array<int> numbers;
        for (int i = 0; i < decks.size(); ++i)
            if (decks[i] != getCurrentDeck())
                numbers.add (i + 1);
        return numbers;
    };

    auto* tab = new juce::TextButton (juce::String (deckButtons.size() + 1));
    tab->setRadioGroupId (1);
    tab->setClickingTogglesState (true);
    tab->setMouseClickGrabsKeyboardFocus (false);
    tab->setWantsKeyboardFocus (false);
    tab->setColour (juce::TextButton::buttonColourId, widgetColour);
    tab->setColour (juce::TextButton::buttonOnColourId, onColour);
    tab->addListener (this);
    tab->addListener (deck);
    deck->deckTab = tab;
    addChildComponent (tab);

    decks.add (deck);
    deckButtons.add (tab);

    auto* gainLabel = deckGainLabels.add (new juce::Label());
    gainLabel->setJustificationType (juce::Justification::centred);
    gainLabel->setFont (juce::Font (11.0f));
    gainLabel->setInterceptsMouseClicks (false, false);
    addChildComponent (gainLabel);

    tab->setToggleState (true, juce::sendNotificationSync);
    showDeck (*deck);

    for (auto* b : deckButtons)
        b->setVisible (decks.size() > 1);

    resized();
}

void MainAudioAppComponent::renumberTabs()
{
    for (int i = 0; i < deckButtons.size(); ++i)
        if (deckButtons[i]->getButtonText() != juce::String (i + 1))
        {
            deckButtons[i]->setButtonText (juce::String (i + 1));
            deckButtons[i]->repaint();
        }
}

void MainAudioAppComponent::deleteCurrentDeck()
{
    if (decks.size() <= 1)
    {
        Alerts::warning ("Oops!", "Can't delete current deck when there's only one deck!");
        return;
    }

    auto* deck = getCurrentDeck();
    const auto index = decks.indexOf (deck);

    if (index >= 0)
    {
        const MasterEngine::DeckListChange change (masterEngine);

        deckButtons.remove (index);
        deckGainLabels.remove (index);
        renumberTabs();
        resized();
        relayListeners.removeAllInstancesOf (deck);
        masterEngine.forgetDecks();
        decks.remove (index);

        auto* first = decks.getFirst();
        masterEngine.selectDeck (&first->engine);
        showDeck (*first);
        first->restoreFocus();
        deckButtons.getFirst()->setToggleState (true, juce::dontSendNotification);

        if (decks.size() == 1)
            deckButtons.getFirst()->setVisible (false);
    }

    if (auto* current = getCurrentDeck())
        current->restoreFocus();
}

void MainAudioAppComponent::deleteAllDecks()
{
    if (decks.size() <= 1)
    {
        Alerts::warning ("Oops!", "Can't delete all decks when there's only one deck!");
        return;
    }

    const MasterEngine::DeckListChange change (masterEngine);
    masterEngine.forgetDecks();

    for (auto* deck : decks)
        relayListeners.removeAllInstancesOf (deck);

    while (! decks.isEmpty())
        decks.remove (decks.size() - 1);
    while (! deckButtons.isEmpty())
        deckButtons.remove (deckButtons.size() - 1);
    deckGainLabels.clear();

    addDeck (nullptr);
}

void MainAudioAppComponent::sendTracksToDeck (int deckNumber, bool removeFromSource)
{
    auto* source = getCurrentDeck();

    if (source == nullptr)
        return;

    const auto paths = source->playlist.getSelectedPaths();

    if (removeFromSource)
        source->playlist.deleteSelectedRows();

    if (deckNumber == 0)
    {
        if (decks.size() >= maxDecks)
            return;

        addDeck (nullptr);
        getCurrentDeck()->playlist.addFiles (paths, false, true, -1);
    }
    else if (deckNumber >= 1 && deckNumber <= decks.size())
    {
        decks[deckNumber - 1]->playlist.addFiles (paths, false, true, -1);
    }
}

namespace
{
    /** Keeps keyboard focus within the current deck: its playlist and its waveform. */
    class MainAppCompTraverser : public juce::ComponentTraverser
    {
    public:
        explicit MainAppCompTraverser (MainAudioAppComponent& ownerToUse) : owner (ownerToUse) {}

        juce::Component* getDefaultComponent (juce::Component*) override
        {
            auto* deck = owner.getCurrentDeck();
            return deck != nullptr ? &deck->playlist.table : nullptr;
        }

        juce::Component* getNextComponent (juce::Component* current) override
        {
            auto* deck = owner.getCurrentDeck();
            if (deck == nullptr)
                return nullptr;

            const bool inPlaylist = current == &deck->playlist || deck->playlist.isParentOf (current);
            return inPlaylist ? static_cast<juce::Component*> (&deck->waveform) : &deck->playlist.table;
        }

        juce::Component* getPreviousComponent (juce::Component* current) override { return getNextComponent (current); }

        std::vector<juce::Component*> getAllComponents (juce::Component*) override
        {
            auto* deck = owner.getCurrentDeck();
            if (deck == nullptr)
                return {};
            return { &deck->playlist.table, &deck->waveform };
        }

    private:
        MainAudioAppComponent& owner;
    };
}

std::unique_ptr<juce::ComponentTraverser> MainAudioAppComponent::createKeyboardFocusTraverser()
{
    return std::make_unique<MainAppCompTraverser> (*this);
}

void MainAudioAppComponent::showDeck (MainComponent& deck)
{
    for (auto* d : decks)
        d->setVisible (d == &deck);
}

void MainAudioAppComponent::openFiles (const juce::Array<juce::File>& files)
{
    if (auto* deck = getCurrentDeck())
        deck->openFiles (files);
}

void MainAudioAppComponent::requestQuit()
{
    auto* deck = getCurrentDeck();

    if (deck != nullptr && deck->engine.isPlaying())
    {
        deck->trackDeck.quitWhenStopped = true;
        deck->trackDeck.stopButtonClicked();
        return;
    }

    juce::MessageManager::getInstance()->stopDispatchLoop();
}

//==============================================================================
void MainAudioAppComponent::getAllCommands (juce::Array<juce::CommandID>& commands)
{
    using namespace CommandIDs;
    commands.addArray (std::initializer_list<int> { volumeDown, volumeUp, mute, panLeft, panRight, deck1, deck2, deck3, deck4,
                                                    CommandIDs::addDeck, deleteDeck, settings, quit, fullScreen, showDebug });
}

void MainAudioAppComponent::getCommandInfo (juce::CommandID id, juce::ApplicationCommandInfo& result)
{
    CommandIDs::fillInfo (id, result);
}

bool MainAudioAppComponent::perform (const InvocationInfo& info)
{
    using namespace CommandIDs;
    auto& volume = volumeAndPan.volumeSlider;
    auto& pan = volumeAndPan.panSlider;
    const auto panStep = pan.getMaximum() / 2.0;

    switch (info.commandID)
    {
        case volumeDown: volume.setValue (volume.getValue() - 0.02, juce::sendNotificationSync); break;
        case volumeUp: volume.setValue (volume.getValue() + 0.02, juce::sendNotificationSync); break;
        case mute: volumeAndPan.toggleMute(); break;
        case panLeft: pan.setValue (pan.getValue() - panStep, juce::sendNotificationSync); break;
        case panRight: pan.setValue (pan.getValue() + panStep, juce::sendNotificationSync); break;
        case deck1:
        case deck2:
        case deck3:
        case deck4:
            if (auto* tab = deckButtons[info.commandID - deck1])
                tab->triggerClick();
            break;
        case CommandIDs::addDeck: addDeck (nullptr); break;
        case deleteDeck: deleteCurrentDeck(); break;
        case quit: requestQuit(); break;
        case fullScreen:
            if (auto* window = dynamic_cast<juce::ResizableWindow*> (getTopLevelComponent()))
                window->setFullScreen (! window->isFullScreen());
            break;
        case settings: showSettings(); break;
        case showDebug: showDebugWindow(); break;
        default: return false;
    }

    return true;
}

void MainAudioAppComponent::deleteDecksWhenStopped (bool all)
{
    auto* deck = getCurrentDeck();

    if (deck == nullptr)
        return;

    // A playing deck is stopped first, the last one too; its stop, arriving in
    // handleAsyncUpdate, deletes (or, for the last deck, says it can't).
    if (deck->engine.isPlaying())
    {
        deck->pendingDelete = true;
        deleteAllPending = all;

        if (deck->trackDeck.getState() == TransportState::Playing)
            deck->trackDeck.stopButtonClicked();
        return;
    }

    if (all)
        deleteAllDecks();
    else
        deleteCurrentDeck();
}

void MainAudioAppComponent::askApplicationToQuit()
{
    // The application's quit comes back to requestQuit; without one (tests) go there directly.
    if (auto* app = juce::JUCEApplication::getInstance())
        app->systemRequestedQuit();
    else
        requestQuit();
}

void MainAudioAppComponent::menuItemChosen (int id)
{
    // Entries 1 to 5 act on the current deck.
    if (id >= 1 && id <= 5)
    {
        auto* deck = getCurrentDeck();

        if (deck == nullptr)
            return;

        switch (id)
        {
            case 1: deck->openTrack (false); break;
            case 2: deck->openFolder(); break;
            case 3: deck->openPlaylist(); break;
            case 4: deck->saveButtonClicked(); break;
            default: deck->exportAudioButtonClicked(); break;
        }

        return;
    }

    switch (id)
    {
        case 6:
            settingsPanel.resetScale();
            if (auto* window = getTopLevelComponent(); window != nullptr && window != this)
                window->setBounds (window->getBounds().withWidth (850));
            break;
        case 7: showSettings(); break;
        case 8:
        case 9:
            if (help == nullptr)
                help = std::make_unique<HelpWindow>();
            help->showSection (id == 9);
            break;
        case 10: about.show(); break;
        case 11: showDebugWindow(); break;
        case 12: askApplicationToQuit(); break;
        case 13: addDeck (nullptr); break;
        case 14: deleteDecksWhenStopped (false); break;
        case 15: deleteDecksWhenStopped (true); break;
        case 17: userUpdate.checkForUpdates(); break;
        default: break;
    }
}

//==============================================================================
namespace
{
    // A device set-up from the file, without a rate or block size no device could run at.
    std::unique_ptr<juce::XmlElement> plausibleDeviceSetup (const juce::XmlElement& stored)
    {
        auto setup = std::make_unique<juce::XmlElement> (stored);

        if (const auto rate = setup->getDoubleAttribute ("audioDeviceRate"); ! (rate >= 8000.0 && rate <= 768000.0))
            setup->removeAttribute ("audioDeviceRate");
        if (const auto size = setup->getIntAttribute ("audioDeviceBufferSize"); size < 16 || size > 16384)
            setup->removeAttribute ("audioDeviceBufferSize");

        return setup;
    }
}

std::unique_ptr<juce::XmlElement> MainAudioAppComponent::createSessionXml()
{
    auto session = std::make_unique<juce::XmlElement> ("PREVIOUS_STATE");
    auto& s = *session;

    if (auto* window = dynamic_cast<juce::ResizableWindow*> (getTopLevelComponent()))
        s.setAttribute ("window_state", window->getWindowStateAsString());

    s.setAttribute (StoredSettings::displayScaleComboId, storedSettings.getInt (StoredSettings::displayScaleComboId, 0));
    s.setAttribute (StoredSettings::displayScale, storedSettings.getDouble (StoredSettings::displayScale, 0.0));
    s.setAttribute (StoredSettings::checkForUpdates, storedSettings.getBool (StoredSettings::checkForUpdates, true));
    s.setAttribute (StoredSettings::showWelcome, storedSettings.getBool (StoredSettings::showWelcome, true));
    s.setAttribute ("mute", volumeAndPan.muteButton.getToggleState());
    s.setAttribute ("volume", volumeAndPan.volumeSlider.getValue());
    s.setAttribute ("pan", volumeAndPan.panSlider.getValue());

    if (auto device = deviceManager.createStateXml())
        s.addChildElement (device.release());

    DeckState master;
    masterEQ.getState (master);
    s.addChildElement (master.createMasterEQXml().release());

    s.setAttribute ("num_decks", decks.size());
    comparison.getState (s);
    blindTest.getState (s);

    for (int i = 0; i < decks.size(); ++i)
    {
        if (decks[i] == getCurrentDeck())
            s.setAttribute ("active_deck", i);

        s.addChildElement (decks[i]->getDeckStateXml (i).release());
    }

    return session;
}

void MainAudioAppComponent::restoreSession (const juce::XmlElement* session)
{
    jassert (decks.isEmpty());

    if (session != nullptr)
    {
        const auto& s = *session;

        if (const auto* device = s.getChildByName ("DEVICESETUP"))
            savedAudioState = plausibleDeviceSetup (*device);

        windowState = s.getStringAttribute ("window_state");
        // The box's id must name one of its items before the scale is read at all.
        if (const auto id = s.getIntAttribute (StoredSettings::displayScaleComboId);
            id > 0 && id <= (int) SettingsComponent::scales.size())
        {
            storedSettings.setInt (StoredSettings::displayScaleComboId, id);
            storedSettings.setDouble (StoredSettings::displayScale,
                                      SettingsComponent::storedScale (id, s.getDoubleAttribute (StoredSettings::displayScale)));
        }

        storedSettings.setBool (StoredSettings::checkForUpdates, s.getBoolAttribute (StoredSettings::checkForUpdates, true));
        storedSettings.setBool (StoredSettings::showWelcome, s.getBoolAttribute (StoredSettings::showWelcome, true));

        const auto finite = [] (double v, double otherwise) { return std::isfinite (v) ? v : otherwise; };
        volumeAndPan.muteButton.setToggleState (s.getBoolAttribute ("mute"), juce::sendNotificationSync);
        volumeAndPan.volumeSlider.setValue (finite (s.getDoubleAttribute ("volume", 1.0), 1.0), juce::sendNotificationSync);
        volumeAndPan.panSlider.setValue (finite (s.getDoubleAttribute ("pan"), 0.0), juce::sendNotificationSync);

        if (const auto* master = s.getChildByName ("MASTER_EQ_AND_SPECTRUM"))
            masterEQ.setState (DeckState::fromMasterEQXml (*master));

        const auto numDecks = juce::jlimit (1, maxDecks, s.getIntAttribute ("num_decks"));

        for (int n = 0; n < numDecks; ++n)
            addDeck (s.getChildByName ("DECK_STATE_" + juce::String (n)));

        if (const auto active = s.getIntAttribute ("active_deck"); juce::isPositiveAndBelow (active, decks.size()))
            deckButtons[active]->setToggleState (true, juce::sendNotificationSync);

        // Last, so that restoring the active deck is a plain switch.
        comparison.setState (s);
        blindTest.setState (s);
    }

    if (decks.isEmpty())
        addDeck (nullptr);
}

//==============================================================================
void MainAudioAppComponent::timerCallback()
{
    tickRelayListeners();

    if (comparison.isActive())
        updateComparison();

    if (fadingFrom != nullptr && masterEngine.fadingDeck() != &fadingFrom->engine)
    {
        if (fadingFrom != getCurrentDeck() && fadingFrom->engine.isPlaying())
            fadingFrom->trackDeck.changeState (TransportState::Pausing);

        fadingFrom = nullptr;
    }

    // The window takes focus somewhat after it shows; the deck, or a panel that is up (the
    // welcome), gets it back once that is over.
    if (ticksUntilFocus > 0 && --ticksUntilFocus == 0)
    {
        if (activePopup != nullptr)
            activePopup->grabKeyboardFocus();
        else if (auto* deck = getCurrentDeck())
            deck->restoreFocus();
    }
}

void MainAudioAppComponent::resized()
{
    auto area = getLocalBounds();
    titleBar.setBounds (area.removeFromTop (titleBarHeight));
    auto title = area.removeFromTop (masterStripHeight).reduced (8, 4);

    levelLights.setBounds (title.removeFromRight (120).reduced (0, 4));
    title.removeFromRight (10);
    volumeAndPan.setBounds (title.removeFromRight (220));
    title.removeFromRight (10);
    masterEQButton.setBounds (title.removeFromRight (50).reduced (0, 8));

    auto tabs = title.removeFromLeft (4 * tabWidth);
    const bool gainsShown = comparison.isMatchOn();
    for (int i = 0; i < deckButtons.size(); ++i)
    {
        auto slot = tabs.removeFromLeft (tabWidth).reduced (1, 0);
        if (i < deckGainLabels.size())
            deckGainLabels[i]->setBounds (gainsShown ? slot.removeFromBottom (14) : juce::Rectangle<int>());
        deckButtons[i]->setBounds (slot);
    }

    title.removeFromLeft (10);
    comparison.setBounds (title.removeFromLeft (juce::jmin (title.getWidth(), 290)));

    for (auto* deck : decks)
        deck->setBounds (area);

    // Both stand over the decks: the offer along the bottom, the user's check over everything.
    startupUpdate.setBounds (area.removeFromBottom (startupUpdateHeight));
    userUpdate.setBounds (getLocalBounds());
}

bool MainAudioAppComponent::keyPressed (const juce::KeyPress& key)
{
    if (key.getKeyCode() != juce::KeyPress::escapeKey || key.getModifiers().isAnyModifierKeyDown() || activePopup == nullptr
        || activePopup->closeButton.onClick == nullptr)
        return false;

    activePopup->closeButton.onClick();
    return true;
}

void MainAudioAppComponent::paint (juce::Graphics& g)
{
    g.fillAll (backgroundColour);
}

} // namespace Marlode
