#include "waveform/WaveformComponent.h"

namespace Marlode
{

namespace
{
    constexpr int buttonRowHeight = 25;
    const juce::Colour toggleOnColour (0xff808080);
    const juce::Colour playHeadColour (0xff008000);
}

WaveformComponent::WaveformComponent (juce::AudioFormatManager& formats, TrackTransport& transportToUse,
                                      WaveformBackground& backgroundToUse)
    : formatManager (formats), transport (transportToUse), background (backgroundToUse)
{
    setWantsKeyboardFocus (true);

    for (auto* b : { &openButton, &ejectButton, &autoPlayButton, &playNextButton, &followButton, &replayButton,
                     &loopButton, &zoomOutButton, &zoomInButton })
    {
        b->setWantsKeyboardFocus (false);
        b->setMouseClickGrabsKeyboardFocus (false);
        addAndMakeVisible (b);
    }

    for (auto* b : { &autoPlayButton, &playNextButton, &followButton, &replayButton, &loopButton })
    {
        b->setClickingTogglesState (true);
        b->setColour (juce::TextButton::buttonOnColourId, toggleOnColour);
    }

    autoPlayButton.setToggleState (true, juce::dontSendNotification);
    playNextButton.setToggleState (true, juce::dontSendNotification);

    for (auto* b : { &followButton, &replayButton, &loopButton, &zoomOutButton, &zoomInButton })
        b->setEnabled (false);

    loopButton.onClick = [this] { loopEnabled.store (loopButton.getToggleState()); };
    ejectButton.onClick = [this] { sendActionMessage ("Current Track Deleted"); };

    fileNameLabel.setJustificationType (juce::Justification::centred);
    fileNameLabel.setInterceptsMouseClicks (false, false);
    addAndMakeVisible (fileNameLabel);
}

WaveformComponent::~WaveformComponent() = default;

bool WaveformComponent::loadTrack (const juce::File& file)
{
    if (formatManager.findFormatForFileExtension (file.getFileExtension()) == nullptr)
        return false;

    const auto rate = transport.getSampleRate();
    trackLength = rate > 0.0 ? (double) transport.getTotalLength() / rate : 0.0;
    trackLoaded = trackLength > 0.0;
    fileNameLabel.setText (file.getFileName(), juce::dontSendNotification);
    loopStart.store (0.0);
    loopEnd.store (trackLength);
    background.setVisible (! trackLoaded);
    lastPosition = -1.0;
    repaint();
    return true;
}

void WaveformComponent::clearTrack()
{
    trackLoaded = false;
    trackLength = 0.0;
    position.store (0.0);
    replayTime.store (0.0);
    loopStart.store (0.0);
    loopEnd.store (0.0);
    loopEnabled.store (false);
    loopButton.setToggleState (false, juce::dontSendNotification);
    replayButton.setToggleState (false, juce::dontSendNotification);

    for (auto* b : { &followButton, &replayButton, &loopButton, &zoomOutButton, &zoomInButton })
        b->setEnabled (false);

    fileNameLabel.setText ({}, juce::dontSendNotification);
    background.setVisible (true);
    repaint();
}

void WaveformComponent::enableTrackControls()
{
    for (auto* b : { &followButton, &replayButton, &loopButton, &zoomOutButton, &zoomInButton })
        b->setEnabled (true);
}

void WaveformComponent::updatePlayhead()
{
    const auto rate = transport.getSampleRate();
    position.store (rate > 0.0 ? (double) transport.getNextReadPosition() / rate : 0.0);
    repaint();
}

void WaveformComponent::timerRelayCallback()
{
    const auto now = position.load();

    if (! juce::approximatelyEqual (now, lastPosition))
    {
        lastPosition = now;
        repaint (getTrackArea());
    }
}

juce::Rectangle<int> WaveformComponent::getTrackArea() const
{
    return getLocalBounds().withTrimmedTop (buttonRowHeight + 5);
}

void WaveformComponent::paint (juce::Graphics& g)
{
    if (! trackLoaded)
        return;

    const auto area = getTrackArea().toFloat();
    g.setColour (juce::Colour (0xff3c3c3c));
    g.fillRect (area.withHeight (1.0f).withY (area.getCentreY()));

    const auto proportion = juce::jlimit (0.0, 1.0, position.load() / trackLength);
    g.setColour (playHeadColour);
    g.fillRect (juce::Rectangle<float> (area.getX() + (float) proportion * (area.getWidth() - 2.0f), area.getY(),
                                        2.0f, area.getHeight()));
}

void WaveformComponent::resized()
{
    auto row = getLocalBounds().removeFromTop (buttonRowHeight);
    const int w = 70;

    for (auto* b : { &openButton, &ejectButton, &autoPlayButton, &playNextButton })
        b->setBounds (row.removeFromLeft (w).reduced (1, 0));

    for (auto* b : { &zoomInButton, &zoomOutButton })
        b->setBounds (row.removeFromRight (buttonRowHeight).reduced (1, 0));

    for (auto* b : { &loopButton, &replayButton, &followButton })
        b->setBounds (row.removeFromRight (w).reduced (1, 0));

    fileNameLabel.setBounds (getTrackArea().removeFromTop (24));
}

void WaveformComponent::mouseDown (const juce::MouseEvent& e)
{
    // Click to seek: the one waveform gesture the deck needs before markers exist.
    const auto area = getTrackArea();

    if (! trackLoaded || ! area.contains (e.getPosition()) || area.getWidth() <= 0)
        return;

    const auto seconds = trackLength * (double) (e.x - area.getX()) / (double) area.getWidth();
    transport.setPosition (juce::jlimit (0.0, trackLength, seconds));
    updatePlayhead();
}

void WaveformComponent::focusGained (FocusChangeType) { sendActionMessage ("Focus Changed"); }
void WaveformComponent::focusLost (FocusChangeType) { sendActionMessage ("Focus Changed"); }

} // namespace Marlode
