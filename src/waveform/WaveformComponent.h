#pragma once

#include "deck/TrackTransport.h"
#include "engine/TimerRelayListener.h"
#include "waveform/WaveformBackground.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The deck's large panel: the track's name and progress, the play head, and the buttons over
    the waveform (Open, Eject, Auto-Play, Play-Next, Follow, Replay, Loop, zoom). It owns the
    marker times that the deck's transport logic and block path read.

    Message thread, except the marker atomics, which the audio thread reads once a block.
*/
class WaveformComponent : public juce::Component,
                          public juce::ActionBroadcaster,
                          public TimerRelayListener
{
public:
    WaveformComponent (juce::AudioFormatManager&, TrackTransport&, WaveformBackground&);
    ~WaveformComponent() override;

    /** Takes a newly loaded file; false when no input source could be made for it. */
    bool loadTrack (const juce::File& file);

    /** Back to no track: markers, view and labels. */
    void clearTrack();

    /** Enables the controls that need a track (Follow, Replay, Loop, zoom). */
    void enableTrackControls();

    /** Moves the play head to the transport's present position. */
    void updatePlayhead();

    void timerRelayCallback() override;
    void paint (juce::Graphics&) override;
    void resized() override;
    void mouseDown (const juce::MouseEvent&) override;
    void focusGained (FocusChangeType) override;
    void focusLost (FocusChangeType) override;

    [[nodiscard]] bool isTrackLoaded() const noexcept { return trackLoaded; }
    [[nodiscard]] double getTrackLength() const noexcept { return trackLength; }

    // Seconds on the file's time line. The deck's block writes `position`; the message thread
    // writes the markers; the audio thread reads the loop values at each block's start.
    std::atomic<double> position { 0.0 };
    std::atomic<bool> loopEnabled { false };
    std::atomic<double> replayTime { 0.0 };
    std::atomic<double> loopStart { 0.0 };
    std::atomic<double> loopEnd { 0.0 };

    juce::TextButton openButton { "Open" }, ejectButton { "Eject" }, autoPlayButton { "Auto-Play" },
        playNextButton { "Play-Next" }, followButton { "Follow" }, replayButton { "Replay" },
        loopButton { "Loop" }, zoomOutButton { "-" }, zoomInButton { "+" };

private:
    juce::AudioFormatManager& formatManager;
    TrackTransport& transport;
    WaveformBackground& background;

    juce::Label fileNameLabel;
    double trackLength = 0.0;
    double lastPosition = -1.0;
    bool trackLoaded = false;

    juce::Rectangle<int> getTrackArea() const;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WaveformComponent)
};

} // namespace Marlode
