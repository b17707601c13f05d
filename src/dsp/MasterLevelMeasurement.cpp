#include "dsp/MasterLevelMeasurement.h"

#include <cmath>

namespace Marlode
{

MasterLevelMeasurement::MasterLevelMeasurement()
{
    for (int c = 0; c < numChannels; ++c)
    {
        levelDb[(size_t) c].store (floorDb);
        displayedDb[(size_t) c].store (floorDb);
    }
}

void MasterLevelMeasurement::prepare (double deviceSampleRate) noexcept
{
    for (auto& s : smoothedDb)
        s.setFallTime (0.5, deviceSampleRate);
}

void MasterLevelMeasurement::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    auto* buffer = info.buffer;

    if (buffer == nullptr)
        return;

    const auto channels = juce::jmin (buffer->getNumChannels(), numChannels);
    const auto n = info.numSamples;

    for (int c = 0; c < channels; ++c)
    {
        float peak = 0.0f;

        // The signed maximum, not the magnitude: a block of only negative samples reads as silence.
        if (! buffer->hasBeenCleared())
            peak = juce::FloatVectorOperations::findMinAndMax (buffer->getReadPointer (c, info.startSample), n).getEnd();

        const auto dB = peak <= 0.0f ? floorDb : juce::jmax (20.0f * std::log10 (peak), floorDb);
        levelDb[(size_t) c].store (dB, std::memory_order_relaxed);

        auto& smoothed = smoothedDb[(size_t) c];
        smoothed.advance (n);
        smoothed.follow (dB);
        displayedDb[(size_t) c].store (smoothed.getCurrentDb(), std::memory_order_relaxed);
    }
}

float MasterLevelMeasurement::getLevelDb (int channel) const noexcept
{
    return juce::isPositiveAndBelow (channel, numChannels) ? levelDb[(size_t) channel].load (std::memory_order_relaxed) : floorDb;
}

float MasterLevelMeasurement::getDisplayedDb (int channel) const noexcept
{
    return juce::isPositiveAndBelow (channel, numChannels) ? displayedDb[(size_t) channel].load (std::memory_order_relaxed)
                                                           : floorDb;
}

} // namespace Marlode
