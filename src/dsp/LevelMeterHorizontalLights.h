#pragma once

#include "dsp/MasterLevelMeasurement.h"
#include "engine/TimerRelayListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The master section's level strip: one row per output channel, drawn from the displayed
    (smoothed) level on the interface tick. The measuring is `measurement`'s, on the audio thread. */
class LevelMeterHorizontalLights : public juce::Component,
                                   public TimerRelayListener
{
public:
    LevelMeterHorizontalLights();

    void timerRelayCallback() override;
    void paint (juce::Graphics&) override;

    MasterLevelMeasurement measurement;

private:
    std::array<float, MasterLevelMeasurement::numChannels> shownDb { MasterLevelMeasurement::floorDb,
                                                                      MasterLevelMeasurement::floorDb };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeterHorizontalLights)
};

} // namespace Marlode
