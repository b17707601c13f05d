#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

// Seconds and sample counts at a rate: the one conversion every position, length and seek uses.
// A rate not yet known (0) gives 0 either way, never a division by zero.

[[nodiscard]] inline double samplesToSeconds (juce::int64 samples, double rate) noexcept
{
    return rate > 0.0 ? (double) samples / rate : 0.0;
}

[[nodiscard]] inline juce::int64 secondsToSamples (double seconds, double rate) noexcept
{
    return rate > 0.0 ? (juce::int64) (seconds * rate) : 0;
}

} // namespace Marlode
