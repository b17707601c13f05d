#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>
#include <memory>

namespace RubberBand
{
class RubberBandStretcher;
}

namespace Marlode
{

//==============================================================================
/**
    One deck's Rubber Band stretcher in real-time mode, and the values that drive it.

    The message thread stores the time ratio, the pitch scale and the five option ids; the audio
    thread hands whatever changed to the library just before its next process call, because the
    library must not be reconfigured while it processes on another thread. What reaches the
    library is clamped to a range it accepts (time 0.125 to 8, pitch 0.25 to 4); the stored values stay as
    they were computed, since the controls and the session file read them back.

    Changes reach the library only when they differ from what it has, because the library
    reconfigures itself on a change and may allocate there, on the audio thread, in the block that
    hands the change over. prepare() runs the library on silence through the corners of the
    presets', "Speed"'s and "Semi-Tones"' range (time 0.44 to 2.25, pitch 0.47 to 2.1), so the
    buffers those need are already grown; going further would grow the library's window for good
    and with it the audio it holds back. Measured after that at 44.1 kHz stereo, 512-sample
    blocks, R2 engine: time ratios 0.8, 0.45, 2.2 and back to 1.0 make no allocation (before the
    warm-up 2.2 made 8), 0.125 (vari-speed near 0, clamped) makes 58 with a new 8192-sample
    window; each pitch change makes a few (1.3, 2.03, 0.47: 4, 6, 2) whatever was grown before;
    an option change none. Steady playing allocates nothing.
    prepare() runs on the message thread (or the device's) while no block runs; pull() on the
    audio thread.
*/
class TimeStretcher
{
public:
    enum class Option
    {
        pitch,
        formant,
        phase,
        transients,
        detector
    };
    static constexpr int numOptions = 5;
    static constexpr double minimumTimeRatio = 0.125, maximumTimeRatio = 8.0;
    static constexpr double minimumPitchScale = 0.25, maximumPitchScale = 4.0;
    static constexpr int maxChannels = 8;

    TimeStretcher();
    ~TimeStretcher();

    /** Builds a new stretcher for this block size, channel count and rate, losing whatever audio
        the old one held, and gives it the stored ratio, pitch and options. */
    void prepare (int samplesPerBlock, int channels, double sampleRate);

    /** Message thread: the values as computed by the controls; applied before the next block. */
    void setTimeRatio (double ratio) noexcept;
    void setPitchScale (double scale) noexcept;
    [[nodiscard]] double getTimeRatio() const noexcept { return timeRatio.load (std::memory_order_relaxed); }
    [[nodiscard]] double getPitchScale() const noexcept { return pitchScale.load (std::memory_order_relaxed); }

    /** Message thread: another stretcher's ratio, pitch and options, as a render's private copy
        takes the live deck's; applied at the next prepare or block. */
    void copySettingsFrom (const TimeStretcher& other) noexcept;

    /** Message thread: an option's combo id, 1 for the first choice; an id the option doesn't
        have is taken as 1. */
    void setOption (Option, int id) noexcept;
    [[nodiscard]] int getOption (Option o) const noexcept { return options[(size_t) o].load (std::memory_order_relaxed); }

    /** The library's flag for an option's id. */
    [[nodiscard]] static int flagFor (Option, int id) noexcept;

    /** What the library is given for a stored value. */
    [[nodiscard]] static double libraryTimeRatio (double stored) noexcept;
    [[nodiscard]] static double libraryPitchScale (double stored) noexcept;

    /** Null before the first prepare. Read the library's own values through it only while no
        block runs. */
    [[nodiscard]] RubberBand::RubberBandStretcher* getStretcher() const noexcept { return stretcher.get(); }

    /** Audio thread: fills the block's region with stretched audio, reading the source into that
        same region as it goes. Gives silence (and reads nothing) before a prepare or when the
        block has fewer channels than the stretcher. */
    void pull (juce::AudioSource& source, const juce::AudioSourceChannelInfo& info) noexcept;

    /** The most process calls one block makes before it gives up and fills the rest with
        silence: enough to get past the library's start latency at the smallest ratio. */
    static constexpr int maxProcessCallsPerBlock = 128;

private:
    void applyChanges() noexcept;
    void warmUp();
    void pullPart (juce::AudioSource& source, juce::AudioBuffer<float>& buffer, int start, int numSamples) noexcept;

    std::unique_ptr<RubberBand::RubberBandStretcher> stretcher;
    int maxBlock = 0, numChannels = 0;

    // The message thread writes them; the audio thread reads them before each block.
    std::atomic<double> timeRatio { 1.0 }, pitchScale { 1.0 };
    // The message thread writes them; the audio thread reads them before each block.
    std::array<std::atomic<int>, numOptions> options { 1, 1, 1, 1, 1 };

    // What the library has now: the audio thread's (and prepare's) own.
    double appliedTimeRatio = 1.0, appliedPitchScale = 1.0;
    std::array<int, numOptions> appliedOptions { 1, 1, 1, 1, 1 };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimeStretcher)
};

} // namespace Marlode
