#pragma once

#include "dsp/PeakFollower.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The master output's level per channel for the level lights: each block's signed maximum in
    dB (floor -100), shown with an instant rise and a linear fall over 0.5 s.

    process() on the audio thread; prepare() when the device starts; the getters on any thread.
*/
class MasterLevelMeasurement
{
public:
    MasterLevelMeasurement();

    /** Sets the fall to 0.5 s at this rate and ends any fall under way. */
    void prepare (double deviceSampleRate) noexcept;

    void process (const juce::AudioSourceChannelInfo&) noexcept;

    [[nodiscard]] float getLevelDb (int channel) const noexcept;
    [[nodiscard]] float getDisplayedDb (int channel) const noexcept;

    static constexpr int numChannels = 2;
    static constexpr float floorDb = -100.0f;

private:
    // Audio thread only.
    std::array<PeakFollower, numChannels> smoothedDb { PeakFollower (floorDb), PeakFollower (floorDb) };

    // Audio thread writes, the display reads.
    std::array<std::atomic<float>, numChannels> levelDb;
    std::array<std::atomic<float>, numChannels> displayedDb;
};

} // namespace Marlode
