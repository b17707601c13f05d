#include "dsp/TruePeakMeter.h"

namespace Marlode
{

TruePeakMeter::TruePeakMeter()
{
    prepare (2, 512, 44100.0);
}

void TruePeakMeter::prepare (int numChannels, int samplesPerBlock, double sampleRate)
{
    channels = juce::jmax (1, numChannels);
    maxBlockSize = juce::jmax (1, samplesPerBlock);
    channelPeakDb = std::vector<std::atomic<float>> ((size_t) channels);

    using Filter = juce::dsp::Oversampling<float>;
    oversampling = std::make_unique<Filter> ((size_t) channels);
    oversampling->addOversamplingStage (Filter::filterHalfBandPolyphaseIIR, 0.05f, -90.0f, 0.06f, -75.0f);

    // Below 96 kHz a second stage makes the factor four.
    if (192000.0 / sampleRate > 2.0)
        oversampling->addOversamplingStage (Filter::filterHalfBandPolyphaseIIR, 0.1f, -80.0f, 0.12f, -65.0f);

    oversampling->initProcessing ((size_t) maxBlockSize);
    oversampling->reset();
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
    return oversampling != nullptr ? (int) oversampling->getOversamplingFactor() : 1;
}

void TruePeakMeter::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    if (info.buffer == nullptr || oversampling == nullptr)
        return;

    const auto numChannels = juce::jmin (info.buffer->getNumChannels(), channels);

    if (info.numSamples <= 0 || numChannels <= 0)
    {
        for (auto& p : channelPeakDb)
            p.store (floorDb, std::memory_order_relaxed);
        return;
    }

    const juce::dsp::AudioBlock<const float> whole (info.buffer->getArrayOfReadPointers(), (size_t) numChannels,
                                                    (size_t) info.startSample, (size_t) info.numSamples);

    for (int ch = 0; ch < numChannels; ++ch)
        channelPeakDb[(size_t) ch].store (floorDb, std::memory_order_relaxed);

    // The oversampler is prepared for blocks up to maxBlockSize; longer ones go in pieces.
    for (size_t offset = 0; offset < whole.getNumSamples(); offset += (size_t) maxBlockSize)
    {
        const auto length = juce::jmin ((size_t) maxBlockSize, whole.getNumSamples() - offset);
        const auto up = oversampling->processSamplesUp (whole.getSubBlock (offset, length));

        for (int ch = 0; ch < numChannels; ++ch)
        {
            const auto* samples = up.getChannelPointer ((size_t) ch);
            float maximum = 0.0f;

            for (size_t i = 0; i < up.getNumSamples(); ++i)
                maximum = juce::jmax (maximum, samples[i]);

            const auto dB = maximum > 0.0f ? juce::jmax (20.0f * std::log10 (maximum), floorDb) : floorDb;
            auto& channelPeak = channelPeakDb[(size_t) ch];

            if (dB > channelPeak.load (std::memory_order_relaxed))
                channelPeak.store (dB, std::memory_order_relaxed);
            if (dB > peakDb.load (std::memory_order_relaxed))
                peakDb.store (dB, std::memory_order_relaxed);
        }
    }
}

} // namespace Marlode
