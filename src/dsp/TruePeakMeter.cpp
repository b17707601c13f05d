#include "dsp/TruePeakMeter.h"

namespace Marlode
{

TruePeakMeter::TruePeakMeter()
{
    prepare (2, 512, 44100.0);
}

void TruePeakMeter::prepare (int numChannels, int, double sampleRate)
{
    channels = juce::jmax (1, numChannels);
    channelPeakDb = std::vector<std::atomic<float>> ((size_t) channels);
    interpolator.prepare (channels);

    // Four points a sample below 96 kHz, two from there up.
    pointsPerSample = sampleRate < 96000.0 ? TruePeakInterpolator::factor : 2;
    reset();
}

void TruePeakMeter::reset() noexcept
{
    peakDb.store (floorDb, std::memory_order_relaxed);

    for (auto& p : channelPeakDb)
        p.store (floorDb, std::memory_order_relaxed);
}

float TruePeakMeter::getChannelPeakDb (int channel) const noexcept
{
    return juce::isPositiveAndBelow (channel, (int) channelPeakDb.size())
               ? channelPeakDb[(size_t) channel].load (std::memory_order_relaxed)
               : floorDb;
}

int TruePeakMeter::getOversamplingFactor() const noexcept
{
    return pointsPerSample;
}

void TruePeakMeter::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    if (info.buffer == nullptr)
        return;

    const auto numChannels = juce::jmin (info.buffer->getNumChannels(), channels);

    if (info.numSamples <= 0 || numChannels <= 0)
    {
        for (auto& p : channelPeakDb)
            p.store (floorDb, std::memory_order_relaxed);
        return;
    }

    for (int ch = 0; ch < numChannels; ++ch)
    {
        const auto* samples = info.buffer->getReadPointer (ch, info.startSample);
        auto maximum = 0.0f;

        for (int i = 0; i < info.numSamples; ++i)
            maximum = juce::jmax (maximum, interpolator.pushMaximum (ch, samples[i], pointsPerSample));

        const auto dB = maximum > 0.0f ? juce::jmax (20.0f * std::log10 (maximum), floorDb) : floorDb;
        channelPeakDb[(size_t) ch].store (dB, std::memory_order_relaxed);

        if (dB > peakDb.load (std::memory_order_relaxed))
            peakDb.store (dB, std::memory_order_relaxed);
    }
}

} // namespace Marlode
