#pragma once

#include <juce_audio_basics/juce_audio_basics.h>
#include <juce_events/juce_events.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace Marlode
{

//==============================================================================
/**
    Plays one positionable source with a read-ahead buffer, in the manner of
    juce::AudioTransportSource, but without a lock anywhere on the audio thread and without a
    silent sample after a seek or a loop wrap.

    JUCE's transport and buffering source hold a critical section around every block, and the
    read-ahead thread holds the same section while it reads the disk, so a slow read can stall
    the audio callback. Here the read-ahead thread fills a single-producer, single-consumer ring
    at the device rate (resampling there when the file's rate differs), seeks travel as atomic
    requests, and a source change swaps one pointer and waits for every user of it to let go.

    Gapless moves: until the read-ahead has audio from a new place, the audio thread keeps
    playing what it already has; a message-thread seek wakes the read-ahead and returns once the
    next block will come from the new place. The loop start and the replay point (the cue
    points) are kept decoded ahead, so a wrap to them on the audio thread sounds in the same
    block without waiting for the disk.

    Positions and lengths are in device-rate samples, as in juce::AudioTransportSource, so a
    position divided by getSampleRate() is seconds on the file's own time line.

    Threads: getNextAudioBlock, setNextReadPosition, setCuePoints and the getters may run on the
    audio thread; setPosition, start, stop and setSource are for the message thread; prepareToPlay
    and releaseResources may come from the device layer's own thread when the device restarts.
    Change messages (start, stop, end of stream) arrive on the message thread.
*/
class TrackTransport : public juce::AudioSource,
                       public juce::ChangeBroadcaster,
                       private juce::Timer
{
public:
    TrackTransport();
    ~TrackTransport() override;

    /** Message thread. The source remains the caller's; it must outlive the next setSource call.
        readAheadSamples is the ring's size in device-rate samples. Returns once the first audio
        is buffered (or after a short time-out), so a start right after it sounds at once. */
    void setSource (juce::PositionableAudioSource* newSource, int readAheadSamples, juce::TimeSliceThread* readAheadThread,
                    double sourceSampleRateToCorrectFor);

    /** Message thread. */
    void start();

    /** Message thread. Waits until the audio thread has faded out: a block or so while a device
        pulls this transport, a few device periods when none does, never more than a second. */
    void stop();

    [[nodiscard]] bool isPlaying() const noexcept;

    /** Any thread: audio still flows, playing or fading out after a stop. */
    [[nodiscard]] bool isSounding() const noexcept;

    /** Any thread, never waits: the audio thread uses it for loop wraps. Until the new place is
        buffered (at once for a cue point) the audio already buffered goes on sounding. */
    void setNextReadPosition (juce::int64 devicePosition) noexcept;

    /** Message thread: moves to `seconds` and returns once the next block the device asks for
        starts there (or after a short time-out when the disk does not answer). */
    void setPosition (double seconds);

    /** Any thread: the places kept decoded ahead, in seconds on the file's time line; a negative
        time is none. With wrapAtTheEnd the track's end goes on at the replay point in the same
        block instead of ending the stream (a loop that ends with the track). Cheap enough to
        call every block. */
    void setCuePoints (double loopStartSeconds, double replaySeconds, bool wrapAtTheEnd = false) noexcept;

    [[nodiscard]] juce::int64 getNextReadPosition() const noexcept;
    [[nodiscard]] juce::int64 getTotalLength() const noexcept;
    [[nodiscard]] bool isLooping() const noexcept;

    /** Seconds on the file's time line. */
    [[nodiscard]] double getCurrentPosition() const noexcept;
    [[nodiscard]] double getLengthInSeconds() const noexcept;

    /** The device rate given to prepareToPlay; 0 before it. */
    [[nodiscard]] double getSampleRate() const noexcept { return deviceRate.load (std::memory_order_acquire); }

    /** The play position has reached the end of a source that doesn't loop. */
    [[nodiscard]] bool hasStreamFinished() const noexcept;

    /** Frames of audio ready in the ring; for tests that must wait for the read-ahead. */
    [[nodiscard]] int getNumBufferedSamples() const noexcept;

    /** Any thread: `seconds` on the file's time line as a device position, the one rule every seek,
        wrap and cue point uses so that they name the same sample. */
    [[nodiscard]] juce::int64 toDevicePosition (double seconds) const noexcept;

    /** Audio from `seconds` is decoded ahead and ready; for tests and benchmarks that must wait for
        the read-ahead. */
    [[nodiscard]] bool isCueReady (double seconds) const noexcept;

    //==============================================================================
    /** Held by the audio thread around everything it does with this transport in one block, so
        that a source change on another thread cannot free the stream in the middle of it. */
    class BlockScope
    {
    public:
        explicit BlockScope (const TrackTransport& t) noexcept : transport (t) { transport.users.fetch_add (1); }
        ~BlockScope() noexcept { transport.users.fetch_sub (1); }

    private:
        const TrackTransport& transport;
        JUCE_DECLARE_NON_COPYABLE (BlockScope)
    };

    //==============================================================================
    void prepareToPlay (int samplesPerBlockExpected, double sampleRate) override;
    void releaseResources() override;

    /** Audio thread. Allocates nothing and takes no lock. */
    void getNextAudioBlock (const juce::AudioSourceChannelInfo&) noexcept override;

private:
    class Stream;

    // The whole life of a play: only compare-and-swap moves it, so a start on the message thread
    // and the end of the stream or the end of a fade on the audio thread can't undo each other.
    enum class Run : int
    {
        idle,    // silent, position held
        playing, // audio flows
        stopping // stop() asked; the audio thread fades the next block out and goes idle
    };

    void timerCallback() override;
    void replaceStream (std::unique_ptr<Stream> next);
    std::unique_ptr<Stream> makeStream (juce::int64 startSourcePosition) const;
    void waitUntilServed (Stream&, std::uint32_t generation) const;
    // Seconds to the stream's source samples, through the device position a seek would use, so
    // a cue and a seek to the same time name the same sample. Negative seconds give -1.
    [[nodiscard]] juce::int64 toSourcePosition (const Stream&, double seconds) const noexcept;

    // What makeStream builds from. setSource (message thread) and prepareToPlay (the device's
    // thread on a restart) both change them and the stream under `configLock`; the audio thread
    // never takes it.
    std::mutex configLock;
    juce::PositionableAudioSource* source = nullptr;
    juce::TimeSliceThread* thread = nullptr;
    double sourceRate = 0.0;
    int readAhead = 32768;
    // Also read without the lock by stop() on the message thread.
    std::atomic<int> blockSize { 512 };

    // Written under configLock (message or device thread), read by every thread: the stream now playing.
    std::atomic<Stream*> stream { nullptr };
    // Every thread that reads through `stream` counts itself in; a replaced stream is freed only at zero.
    mutable std::atomic<int> users { 0 };

    // Written by whichever thread sets them, read by the next stream made: cue points in seconds.
    std::atomic<double> cueLoopStartSeconds { -1.0 }, cueReplaySeconds { -1.0 };
    std::atomic<bool> cueWrapAtTheEnd { false };

    // Written in prepareToPlay (message or device thread); everyone reads.
    std::atomic<double> deviceRate { 0.0 };
    // The audio thread counts its blocks; stop() watches whether anyone still pulls this transport.
    std::atomic<std::uint32_t> blocksPulled { 0 };

    // Message thread starts and asks to stop; the audio thread ends fades and streams.
    std::atomic<Run> run { Run::idle };
    // Audio thread sets at the end of the stream; only the message-thread timer clears it, turning it
    // into a change message: a seek, a start or a new source in between must not swallow the end,
    // or the deck would wait for it in Playing, Pausing or Stopping for good.
    std::atomic<bool> endOfStreamReached { false };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackTransport)
};

} // namespace Marlode
