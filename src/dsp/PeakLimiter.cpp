#include "dsp/PeakLimiter.h"

#include <algorithm>
#include <cmath>

namespace Marlode
{

double PeakLimiter::releaseCoefficient (double ms, double rate) noexcept
{
    return 1.0 / (ms * 0.001 * rate + 1.0);
}

void PeakLimiter::prepare (int /*samplesPerBlock*/, int channelCount, double rate)
{
    sampleRate.store (rate, std::memory_order_relaxed);
    delaySamples = (int) (attackMs * 0.001 * rate);
    holdSamples = (int) (holdMs * 0.001 * rate);
    releaseCoeff.store (releaseCoefficient (releaseMs.load (std::memory_order_relaxed), rate), std::memory_order_relaxed);
    releaseRestart.store (false, std::memory_order_relaxed);

    peakHold.prepare (delaySamples + holdSamples);
    smoother.prepare (delaySamples);

    channels = std::max (0, channelCount);
    audioDelay = delaySamples + (detection == Detection::truePeak ? TruePeakInterpolator::latency : 0);
    delays.resize ((size_t) channels);
    for (auto& d : delays)
        d.prepare (audioDelay);
    interpolator.prepare (detection == Detection::truePeak ? channels : 0);
    reset();
}

void PeakLimiter::reset() noexcept
{
    releaseState = 1.0;
    peakHold.reset();
    smoother.reset();
    for (auto& d : delays)
        d.reset();
    interpolator.reset();
}

double PeakLimiter::samplePeak (const float* const* data, int numChannels, int i) noexcept
{
    // From 0, so silence never asks for a gain below 1.
    auto peak = 0.0;

    if (detection == Detection::truePeak)
        for (int c = 0; c < numChannels; ++c)
            peak = std::max (peak, (double) interpolator.push (c, data[c][i]));
    else
        for (int c = 0; c < numChannels; ++c)
            peak = std::max (peak, (double) data[c][i]);

    return peak;
}

void PeakLimiter::setThresholdDb (double dB) noexcept
{
    setLimit (juce::Decibels::decibelsToGain (dB, -100.0));
}

void PeakLimiter::setReleaseMs (double ms) noexcept
{
    releaseMs.store (ms, std::memory_order_relaxed);
    releaseCoeff.store (releaseCoefficient (ms, sampleRate.load (std::memory_order_relaxed)), std::memory_order_relaxed);
    releaseRestart.store (true, std::memory_order_relaxed);
}

double PeakLimiter::process (juce::AudioBuffer<float>& buffer, int startSample, int numSamples) noexcept
{
    if (releaseRestart.exchange (false, std::memory_order_relaxed))
        releaseState = 1.0;

    const auto ceiling = limit.load (std::memory_order_relaxed);
    const auto coeff = releaseCoeff.load (std::memory_order_relaxed);
    const auto numChannels = std::min (channels, buffer.getNumChannels());
    auto* const* data = buffer.getArrayOfWritePointers();
    auto blockMinGain = 1.0;

    for (int i = startSample; i < startSample + numSamples; ++i)
    {
        const auto peak = samplePeak (data, numChannels, i);

        // Negated, so the sliding maximum gives the smallest gain of the window.
        const auto target = peak > ceiling ? -ceiling / peak : -1.0;
        peakHold.push (target);
        auto wanted = -peakHold.read();

        // Down at once, up along a one-pole curve.
        wanted = std::min (wanted, (wanted - releaseState) * coeff + releaseState);
        releaseState = wanted;

        const auto gain = (float) smoother.process (wanted);

        for (int c = 0; c < numChannels; ++c)
            data[c][i] = delays[(size_t) c].process (data[c][i]) * gain;

        blockMinGain = std::min (blockMinGain, (double) gain);
    }

    return blockMinGain;
}

} // namespace Marlode
