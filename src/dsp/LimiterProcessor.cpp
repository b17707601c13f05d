#include "dsp/LimiterProcessor.h"

#include <cmath>

namespace Marlode
{

namespace
{
    void applyGainDb (const juce::AudioSourceChannelInfo& info, double dB) noexcept
    {
        // applyGain leaves a cleared block alone and skips a gain of exactly 1.
        info.buffer->applyGain (info.startSample, info.numSamples, juce::Decibels::decibelsToGain ((float) dB, -100.0f));
    }
}

void LimiterProcessor::prepare (double rate, int maximumBlockSize, int numChannels)
{
    sampleRate = rate;
    limiter.prepare (maximumBlockSize, numChannels, rate);
}

void LimiterProcessor::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    if (! limiterOn.load (std::memory_order_relaxed) || info.buffer == nullptr || info.numSamples <= 0)
        return;

    applyGainDb (info, inputDb.load (std::memory_order_relaxed));
    const auto blockMinGain = limiter.process (*info.buffer, info.startSample, info.numSamples);
    showReduction (blockMinGain, info.numSamples);
    applyGainDb (info, outputDb.load (std::memory_order_relaxed));
}

void LimiterProcessor::showReduction (double blockMinGain, int numSamples) noexcept
{
    const auto dB = blockMinGain > 0.0 ? std::max (20.0 * std::log10 (blockMinGain), -100.0) : -100.0;
    auto x = juce::jlimit (0.0f, maxReductionDb, (float) -dB);
    const auto shown = reductionDb.load (std::memory_order_relaxed);

    if (x == shown)
        return;

    if (x < shown)
        x = std::max (x, shown - (float) (maxReductionDb * numSamples / (displayFallTime * sampleRate)));

    reductionDb.store (x, std::memory_order_relaxed);
    updated.store (true, std::memory_order_release);
}

void LimiterProcessor::clearReduction() noexcept
{
    updated.store (false, std::memory_order_relaxed);
    reductionDb.store (0.0f, std::memory_order_relaxed);
}

} // namespace Marlode
