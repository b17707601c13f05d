#include "dsp/PeakFollower.h"

#include <cmath>
#include <limits>

namespace Marlode
{

PeakFollower::PeakFollower (float floorDb) noexcept : floor (floorDb)
{
    smoothed.setCurrentAndTargetValue (floorDb);
}

void PeakFollower::setFallTime (double seconds, double sampleRate) noexcept
{
    // A hostile stored time must not overflow the step count: NaN and negatives fall at once.
    const auto samples = std::floor (seconds * sampleRate);
    smoothed.reset (samples > 0.0 ? (int) juce::jmin (samples, (double) std::numeric_limits<int>::max()) : 0);
}

void PeakFollower::advance (int numSamples) noexcept
{
    smoothed.skip (numSamples);
}

void PeakFollower::follow (float valueDb) noexcept
{
    const auto v = std::isnan (valueDb) ? floor : valueDb;

    // An unchanged lower value leaves the running fall alone rather than restarting it.
    if (v >= smoothed.getCurrentValue())
        smoothed.setCurrentAndTargetValue (v);
    else
        smoothed.setTargetValue (v);
}

void PeakFollower::jumpTo (float valueDb) noexcept
{
    smoothed.setCurrentAndTargetValue (valueDb);
}

} // namespace Marlode
