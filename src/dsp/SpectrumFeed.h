#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The spectrum display's tap on an equaliser's output: the audio thread averages each block's
    channels to mono and collects 2048-sample frames, the message thread transforms them.

    The one crossing is `frameReady`: the audio thread writes `frame` only while it is clear and
    sets it with release; the message thread reads `frame` only after seeing it set with acquire,
    and clears it with release when done. So `frame` always has exactly one user, and a frame that
    completes while the previous one still waits is dropped. Frames don't overlap.
*/
class SpectrumFeed
{
public:
    static constexpr int fftOrder = 11;
    static constexpr int frameSize = 1 << fftOrder; // samples per frame

    SpectrumFeed() = default;

    /** Message thread, while no block runs through it. Sizes the mono scratch for the largest
        block and forgets any collected samples and any waiting frame. */
    void prepare (double sampleRate, int maximumBlockSize);

    /** Audio thread. Allocates nothing and takes no lock; a block longer than the prepared size
        is taken in pieces. An empty block or one with no channels adds nothing. */
    void push (const juce::AudioSourceChannelInfo&) noexcept;

    /** Message thread: the waiting frame (lower half the samples, upper half zeros, room for an
        in-place frequency-only transform), or nullptr when none waits. */
    [[nodiscard]] float* takeFrame() noexcept;

    /** Message thread, after takeFrame gave a frame: hands the space back to the audio thread. */
    void releaseFrame() noexcept;

    [[nodiscard]] double getSampleRate() const noexcept { return sampleRate.load (std::memory_order_relaxed); }

private:
    // Audio thread: adds averaged samples to the fifo, handing over each full one.
    void collect (const float* samples, int count) noexcept;

    juce::AudioBuffer<float> mono { 1, 0 };
    std::array<float, frameSize> fifo {};
    int fifoIndex = 0;
    std::array<float, 2 * frameSize> frame {};
    // Set by the audio thread when it hands over a frame, cleared by the message thread after it.
    std::atomic<bool> frameReady { false };

    // Written by prepare, read by the display for its bin mapping.
    std::atomic<double> sampleRate { 44100.0 };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SpectrumFeed)
};

} // namespace Marlode
