#pragma once

#include "deck/TrackTransport.h"
#include "deck/TransportState.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_events/juce_events.h>

#include <atomic>
#include <memory>

namespace Marlode
{

class PlaylistComponent;
class TransportComponent;
class WaveformComponent;

//==============================================================================
/**
    The player of one deck: the loaded file's source, the read-ahead thread, the transport and
    its six-state machine, and what happens when a track ends.

    Message thread throughout; the audio thread only reads `state` (through getState) and uses
    `transportSource` from the deck's block path.
*/
class TrackDeck : public juce::ActionBroadcaster,
                  public juce::ActionListener,
                  public juce::ChangeListener,
                  public juce::ChangeBroadcaster
{
public:
    TrackDeck (juce::AudioFormatManager&, PlaylistComponent&, TransportComponent&, WaveformComponent&);
    ~TrackDeck() override;

    void changeListenerCallback (juce::ChangeBroadcaster*) override;
    void actionListenerCallback (const juce::String& message) override;

    void loadTrack (const juce::File&);
    void changeState (TransportState newState);
    void playButtonClicked();
    void stopButtonClicked();
    void returnToStart();
    void previousTrack();
    void nextTrack();

    /** Drops the loaded track: the deck goes back to having none. */
    void unloadTrack();

    [[nodiscard]] TransportState getState() const noexcept { return state.load (std::memory_order_relaxed); }
    /** Any thread: a track is loaded. */
    [[nodiscard]] bool hasTrack() const noexcept { return trackPresent.load (std::memory_order_acquire); }
    [[nodiscard]] juce::String getCurrentTrackPath() const;

    /** The transport's position in seconds, 0 while its rate is unknown. */
    [[nodiscard]] double transportPosition() const noexcept;

    TrackTransport transportSource;

    // Written by the master engine on the message thread when the device comes or goes.
    bool audioDeviceAvailable = false;

    // When the deck reaches Stopped with this set, the message loop ends (a quit while playing).
    bool quitWhenStopped = false;

    /** Called on reaching Stopped with quitWhenStopped set; by default it ends the message loop. */
    std::function<void()> onQuitWhenStopped;

    /** Message thread: moves the transport to `seconds` on the file's time line, once its rate is
        known; the next block the device asks for starts there. */
    void seek (double seconds);

private:
    void enterStoppedAfterStop();
    void setPlayIndicators (bool isPlaying);

    juce::AudioFormatManager& formatManager;
    PlaylistComponent& playlist;
    TransportComponent& transportComponent;
    WaveformComponent& waveform;

    // The message thread writes it; the audio thread reads it to gate the equaliser and effects.
    std::atomic<TransportState> state { TransportState::Stopped };

    std::unique_ptr<juce::AudioFormatReaderSource> readerSource;
    juce::AudioFormatReader* reader = nullptr; // owned by readerSource
    juce::String currentTrackPath;
    // The message thread writes it around loads; the audio thread reads it each block.
    std::atomic<bool> trackPresent { false };

    juce::TimeSliceThread readAheadThread { "Read Ahead Buffer Thread" };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackDeck)
};

} // namespace Marlode
