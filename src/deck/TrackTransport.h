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
    juce::AudioTransportSource, but without a lock anywhere on the audio thread.

    JUCE's transport and buffering source hold a critical section around every block, and the
    read-ahead thread holds the same section while it reads the disk, so a slow read can stall
    the audio callback. Here the read-ahead thread fills a single-producer, single-consumer ring
    at the device rate (resampling there when the file's rate differs), seeks travel as atomic
    requests, and a source change swaps one pointer and waits for the callback to let go of it.

    Positions and lengths are in device-rate samples, as in juce::AudioTransportSource, so a
    position divided by getSampleRate() is seconds on the file's own time line.

    Threads: getNextAudioBlock and setNextReadPosition may run on the audio thread; every other
    call is for the message thread, except prepareToPlay and releaseResources, which the device
    layer may call from its own thread when the device restarts. Change messages (start, stop,
    end of stream) arrive on the message thread.
*/
class TrackTransport : public juce::AudioSource,
                       public juce::ChangeBroadcaster,
                       private juce::Timer
{
public:
    TrackTransport();
    ~TrackTransport() override;

    /** Message thread. The source remains the caller's; it must outlive the next setSource call.
        readAheadSamples is the ring's size in device-rate samples. */
    void setSource (juce::PositionableAudioSource* newSource,
                    int readAheadSamples,
                    juce::TimeSliceThread* readAheadThread,
                    double sourceSampleRateToCorrectFor);

    /** Message thread. */
    void start();

    /** Message thread. Waits (at most about a second) until the audio thread has faded out. */
    void stop();

    [[nodiscard]] bool isPlaying() const noexcept { return playing.load (std::memory_order_acquire); }

    /** Any thread: the audio thread uses it for loop wraps. Takes effect once the read-ahead
        thread has refilled from the new place; until then the transport plays silence. */
    void setNextReadPosition (juce::int64 devicePosition) noexcept;

    [[nodiscard]] juce::int64 getNextReadPosition() const noexcept;
    [[nodiscard]] juce::int64 getTotalLength() const noexcept;
    [[nodiscard]] bool isLooping() const noexcept;

    /** Seconds on the file's time line. */
    [[nodiscard]] double getCurrentPosition() const noexcept;
    [[nodiscard]] double getLengthInSeconds() const noexcept;
    void setPosition (double seconds) noexcept;

    /** The device rate given to prepareToPlay; 0 before it. */
    [[nodiscard]] double getSampleRate() const noexcept { return deviceRate.load (std::memory_order_acquire); }

    /** The play position has reached the end of a source that doesn't loop. */
    [[nodiscard]] bool hasStreamFinished() const noexcept;

    /** Frames of audio ready in the ring; for tests that must wait for the read-ahead. */
    [[nodiscard]] int getNumBufferedSamples() const noexcept;

    //==============================================================================
    void prepareToPlay (int samplesPerBlockExpected, double sampleRate) override;
    void releaseResources() override;

    /** Audio thread. Allocates nothing and takes no lock. */
    void getNextAudioBlock (const juce::AudioSourceChannelInfo&) noexcept override;

private:
    class Stream;

    void timerCallback() override;
    void replaceStream (std::unique_ptr<Stream> next);
    std::unique_ptr<Stream> makeStream (juce::int64 startSourcePosition) const;

    // What makeStream builds from. setSource (message thread) and prepareToPlay (the device's
    // thread on a restart) both change them and the stream under `configLock`; the audio thread
    // never takes it.
    std::mutex configLock;
    juce::PositionableAudioSource* source = nullptr;
    juce::TimeSliceThread* thread = nullptr;
    double sourceRate = 0.0;
    int readAhead = 32768;
    int blockSize = 512;

    // Written by the message thread, read by the audio thread: the stream now playing.
    std::atomic<Stream*> stream { nullptr };
    // Written by the audio thread around its use of `stream`; read by the message thread before it frees one.
    std::atomic<bool> inCallback { false };

    // Message thread writes in prepareToPlay / releaseResources; everyone reads.
    std::atomic<double> deviceRate { 0.0 };
    std::atomic<bool> prepared { false };

    // Message thread starts, both threads stop; read everywhere.
    std::atomic<bool> playing { false };
    // Audio thread: true once it has faded out after `playing` went false. Message thread waits on it.
    std::atomic<bool> stopped { true };
    // Audio thread sets at the end of the stream; the message-thread timer turns it into a change message.
    std::atomic<bool> endOfStreamReached { false };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackTransport)
};

} // namespace Marlode
