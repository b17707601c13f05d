#pragma once

#include <juce_core/juce_core.h>

#include <atomic>
#include <optional>

namespace Marlode
{

//==============================================================================
/**
    A deck's replay and loop markers and the rules that keep them valid, apart from any view:
    the waveform draws them, the keys and the mouse change them through here, and the deck's
    block reads them.

    Times are seconds on the file's time line. The message thread changes the markers and hears
    about it through Listener; the audio thread reads the atomics only.
*/
class MarkerModel
{
public:
    MarkerModel() = default;

    struct Listener
    {
        virtual ~Listener() = default;
        /** Message thread: a marker, the loop or the replay switch changed. */
        virtual void markersChanged() = 0;
    };

    void addListener (Listener* l) { listeners.add (l); }
    void removeListener (Listener* l) { listeners.remove (l); }

    //==============================================================================
    /** A new track: the loop spans it, the replay marker is at its start, both switches off. */
    void resetForTrack (double lengthSeconds);

    /** No track: every marker at 0, both switches off. */
    void clear();

    [[nodiscard]] double getTrackLength() const noexcept { return trackLength.load (std::memory_order_relaxed); }
    [[nodiscard]] double getReplay() const noexcept { return replay.load (std::memory_order_relaxed); }
    [[nodiscard]] double getLoopStart() const noexcept { return loopStart.load (std::memory_order_relaxed); }
    [[nodiscard]] double getLoopEnd() const noexcept { return loopEnd.load (std::memory_order_relaxed); }
    [[nodiscard]] bool isLoopOn() const noexcept { return loopOn.load (std::memory_order_relaxed); }
    [[nodiscard]] bool isReplayOn() const noexcept { return replayOn.load (std::memory_order_relaxed); }

    //==============================================================================
    // Setters keep the markers valid: inside the track, the loop's start before its end.
    void setReplay (double seconds);
    void setLoopStart (double seconds);
    void setLoopEnd (double seconds);
    void setLoopOn (bool);
    void setReplayOn (bool);

    /** One step left or right. The replay marker and the loop's start stop short of the loop's
        end on the right (and of `viewEnd`, the view's right edge), at the track's start on the
        left; the loop's end moves left only while in view and after the loop's start. */
    void nudgeReplay (bool right, double step, double viewEnd);
    void nudgeLoopStart (bool right, double step, double viewEnd);
    void nudgeLoopEnd (bool right, double step, double viewEnd);

    //==============================================================================
    struct ReturnToStart
    {
        double target = 0.0;
        bool leavesLoop = false; // the place lies past the loop's end, so the loop goes off
    };

    /** Where "return to start" goes from `position`, by the switches: the replay marker, the
        loop's start or the track's start, each press moving on when already there. */
    [[nodiscard]] ReturnToStart returnToStart (double position) const noexcept;

    enum class Move
    {
        skipForward,
        skipBack,
        jumpForward,
        jumpBack
    };

    /** Where a skip or jump of `step` seconds from `position` lands, or nothing when it is
        refused: forward never reaches the track's end nor leaves a running loop, and a jump back
        under a loop stops at the replay marker. */
    [[nodiscard]] std::optional<double> moveTarget (Move, double position, double step, bool playing) const noexcept;

private:
    // Where a marker before the loop's end goes on a nudge, or nothing when it may not move.
    [[nodiscard]] std::optional<double> nudgedBeforeLoopEnd (double now, bool right, double step, double viewEnd) const noexcept;
    void keepLoopValid();
    void changed();

    // Message thread writes; the audio thread reads the loop and replay values every block.
    std::atomic<double> trackLength { 0.0 }, replay { 0.0 }, loopStart { 0.0 }, loopEnd { 0.0 };
    std::atomic<bool> loopOn { false }, replayOn { false };

    // The loop's span, kept so that a start moved past the end carries the whole loop along.
    double loopLength = 0.0;

    juce::ListenerList<Listener> listeners;

    JUCE_DECLARE_NON_COPYABLE (MarkerModel)
};

} // namespace Marlode
