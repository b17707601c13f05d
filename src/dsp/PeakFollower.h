#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

namespace Marlode
{

//==============================================================================
/**
    A level display's movement, in dB: it rises to a higher value at once and falls to a lower
    one along a straight line that takes the whole fall time from wherever it starts; a new,
    still lower value starts a fresh line. A value that isn't a number counts as the floor.

    Owned by one thread at a time (the audio thread, or the message thread while it holds the
    owner's flag); allocates nothing.
*/
class PeakFollower
{
public:
    explicit PeakFollower (float floorDb) noexcept;

    /** The fall time becomes floor (seconds x sampleRate) samples; a fall under way ends at
        once on its target. */
    void setFallTime (double seconds, double sampleRate) noexcept;

    /** Moves `numSamples` along the fall under way. */
    void advance (int numSamples) noexcept;

    /** Takes the latest value: up at once, down along a fall. */
    void follow (float valueDb) noexcept;

    /** Shows `valueDb` at once, in either direction, and ends any fall. */
    void jumpTo (float valueDb) noexcept;

    /** Back on the floor, with no fall under way. */
    void reset() noexcept { jumpTo (floor); }

    [[nodiscard]] float getCurrentDb() const noexcept { return smoothed.getCurrentValue(); }
    [[nodiscard]] float getFloorDb() const noexcept { return floor; }

private:
    float floor;
    juce::SmoothedValue<float, juce::ValueSmoothingTypes::Linear> smoothed;
};

} // namespace Marlode
