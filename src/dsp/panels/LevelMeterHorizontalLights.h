#pragma once

#include "dsp/MasterLevelMeasurement.h"
#include "ui/TimerRelayListener.h"
#include "ui/Palette.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The master section's level strip: one row per output channel, drawn from the displayed
    (smoothed) level on the interface tick. The measuring is `measurement`'s, on the audio thread. */
class LevelMeterHorizontalLights : public juce::Component,
                                   public TimerRelayListener
{
public:
    explicit LevelMeterHorizontalLights (const MasterLevelMeasurement&);

    void timerRelayCallback() override;
    void paint (juce::Graphics&) override;

    // The master engine owns it and measures on the audio thread.
    const MasterLevelMeasurement& measurement;

    // The cells, left to right: each lights in its colour at and above its threshold.
    const std::vector<float> thresholds { -99.0f, -60.0f, -30.0f, -18.0f, -12.0f, -9.0f, -6.0f, -3.0f, 0.0f };
    const std::vector<juce::Colour> colours { onColour,      onColour,      onColour,      onColour, cautionColour,
                                              cautionColour, warningColour, warningColour, offColour };

private:
    std::array<float, MasterLevelMeasurement::numChannels> shownDb { MasterLevelMeasurement::floorDb,
                                                                     MasterLevelMeasurement::floorDb };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeterHorizontalLights)
};

} // namespace Marlode
