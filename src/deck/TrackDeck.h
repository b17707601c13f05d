#pragma once

#include "engine/DeckEngine.h"
#include "engine/TransportState.h"
#include "playlist/PlaylistCursor.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_data_structures/juce_data_structures.h>
#include <juce_events/juce_events.h>

#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    The player of one deck: the loaded file's source, the read-ahead thread, the six-state
    play machine (the one owner of the deck's play state; the engine carries it to the audio
    thread) and what happens when a track ends. It knows the deck's engine and its playlist as
    a cursor, never a view; views hear about it through Listener.

    Message thread.
*/
class TrackDeck : private juce::ChangeListener
{
public:
    struct Listener
    {
        virtual ~Listener() = default;
        /** The transport plays from `file` now; the markers are reset for it. */
        virtual void trackLoaded (const juce::File& file) { juce::ignoreUnused (file); }
        /** The deck has no track any more. */
        virtual void trackUnloaded() {}
        virtual void playStateChanged (TransportState) {}
    };

    TrackDeck (juce::AudioFormatManager&, DeckEngine&, PlaylistCursor&);
    ~TrackDeck() override;

    void addListener (Listener* l) { listeners.add (l); }
    void removeListener (Listener* l) { listeners.remove (l); }

    void loadTrack (const juce::File&);
    void changeState (TransportState newState);
    void playButtonClicked();
    void stopButtonClicked();
    void returnToStart();
    void previousTrack();
    void nextTrack();

    /** Drops the loaded track: the deck goes back to having none. */
    void unloadTrack();

    /** Moves the transport to `seconds` on the file's time line, once its rate is known; the
        next block the device asks for starts there. */
    void seek (double seconds);

    /** Plays from the start as return-to-start places it (after the no-device warning). */
    void playFromStart();

    /** A skip or jump from the play position. Playing, the step is 1 s (skip) or 15 s (jump);
        stopped, `nudge` seconds or 25 nudges. False when the markers' rules refuse it. */
    bool skipOrJump (MarkerModel::Move, double nudge);

    [[nodiscard]] TransportState getState() const noexcept { return engine.getPlayState(); }
    [[nodiscard]] bool hasTrack() const noexcept { return engine.hasTrack(); }
    [[nodiscard]] juce::String getCurrentTrackPath() const { return currentTrackPath; }

    DeckEngine& engine;

    // The Auto-Play and Play-Next switches, shared with whatever shows them. Message thread.
    juce::Value autoPlay { true }, playNext { true };

    // Written by the master on the message thread when the device comes or goes.
    bool audioDeviceAvailable = false;

    // When the deck reaches Stopped with this set, the message loop ends (a quit while playing).
    bool quitWhenStopped = false;

    /** Called on reaching Stopped with quitWhenStopped set; by default it ends the message loop. */
    std::function<void()> onQuitWhenStopped;

private:
    void changeListenerCallback (juce::ChangeBroadcaster*) override;
    void enter (TransportState);
    void enterStoppedAfterStop();

    juce::AudioFormatManager& formatManager;
    PlaylistCursor& playlist;
    TrackTransport& transport;
    juce::ListenerList<Listener> listeners;

    std::unique_ptr<juce::AudioFormatReaderSource> readerSource;
    juce::AudioFormatReader* reader = nullptr; // owned by readerSource
    juce::String currentTrackPath;

    juce::TimeSliceThread readAheadThread { "Read Ahead Buffer Thread" };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackDeck)
};

} // namespace Marlode
