#pragma once

#include "dsp/BoxStackFilter.h"
#include "dsp/ChannelDelay.h"
#include "dsp/PeakHold.h"
#include "dsp/TruePeakInterpolator.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <atomic>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    A look-ahead peak limiter. Each sample's wanted gain (the ceiling over its highest positive
    sample; negative excursions are not looked at) is held for the attack and the hold by a
    sliding minimum, released by a one-pole curve, and smoothed by box averages spanning the
    attack; the audio is delayed by the attack, so the gain is down before a peak comes out.
    The result can pass the ceiling by rounding only; there is no clip after it.

    A true-peak limiter looks at both signs and between the samples instead (four points per
    sample), and delays the audio by the interpolator's look-ahead as well, so the waveform a
    converter rebuilds stays under the ceiling, not only its samples.

    prepare runs while no block does; process runs on the audio thread (or a render's worker)
    and allocates nothing; the setters run on the interface thread.
*/
class PeakLimiter
{
public:
    static constexpr double attackMs = 5.0;
    static constexpr double holdMs = 15.0;

    enum class Detection
    {
        positiveSamples,
        truePeak
    };

    explicit PeakLimiter (Detection d = Detection::positiveSamples) : detection (d) {}

    void prepare (int samplesPerBlock, int channelCount, double sampleRate);

    /** Silence in and gain 1, as after prepare; allocates nothing, so a stage that starts
        limiting again mid-play can call it on the audio thread. */
    void reset() noexcept;

    /** Limits `numSamples` samples from `startSample` in place and returns the block's smallest
        gain. Channels past the prepared count pass untouched. */
    double process (juce::AudioBuffer<float>&, int startSample, int numSamples) noexcept;

    //==============================================================================
    /** The ceiling in dB; 0 dB is 1.0, and -100 dB or less is 0 (everything silenced). */
    void setThresholdDb (double dB) noexcept;
    void setLimit (double linear) noexcept { limit.store (linear, std::memory_order_relaxed); }
    [[nodiscard]] double getLimit() const noexcept { return limit.load (std::memory_order_relaxed); }

    /** Also ends a release in progress: the next block starts from gain 1. */
    void setReleaseMs (double ms) noexcept;
    [[nodiscard]] double getReleaseMs() const noexcept { return releaseMs.load (std::memory_order_relaxed); }

    /** How far the audio comes out behind what goes in. */
    [[nodiscard]] int getDelaySamples() const noexcept { return audioDelay; }
    [[nodiscard]] int getHoldSamples() const noexcept { return holdSamples; }

    /** The one-pole factor of a release time at a rate. */
    [[nodiscard]] static double releaseCoefficient (double ms, double sampleRate) noexcept;

private:
    [[nodiscard]] double samplePeak (const float* const* data, int numChannels, int i) noexcept;

    const Detection detection;

    // Written by the interface thread's setters, read by the block.
    std::atomic<double> limit { 1.0 };
    // Written by setReleaseMs (interface thread), read by it and by prepare.
    std::atomic<double> releaseMs { 40.0 };
    // Written by setReleaseMs and prepare, read by the block.
    std::atomic<double> releaseCoeff { releaseCoefficient (40.0, 44100.0) };
    // Set by setReleaseMs (interface thread); the block clears it and restarts the release.
    std::atomic<bool> releaseRestart { false };
    // Written by prepare, read by setReleaseMs on the interface thread.
    std::atomic<double> sampleRate { 44100.0 };

    // The audio thread's own state, reset by prepare only.
    double releaseState = 1.0;
    int delaySamples = 0, audioDelay = 0, holdSamples = 0, channels = 0;
    PeakHold peakHold;
    BoxStackFilter smoother;
    std::vector<ChannelDelay> delays;
    TruePeakInterpolator interpolator;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PeakLimiter)
};

} // namespace Marlode
