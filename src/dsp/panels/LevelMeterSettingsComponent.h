#pragma once

#include "dsp/panels/LevelMeter.h"
#include "ui/PopupDisplayComponent.h"

namespace Marlode
{

/** A meter's settings as an overlay: type, level and peak decay, LUFS type and reference, and
    the hold, clip-hold and enable toggles. Changes take effect at once. Message thread. */
class LevelMeterSettingsComponent : public PopupDisplayComponent
{
public:
    LevelMeterSettingsComponent (const juce::String& meterTitle, LevelMeter& meter, PopupDisplayComponent*& activePopup);

    void resized() override;

    /** Shows the controls that mean something for this type and hides the others. */
    void updateVisibility();

    juce::ComboBox typeBox, levelDecayBox, peakDecayBox, lufsTypeBox, referenceBox;
    juce::ToggleButton peakHoldToggle { "Max Peak Hold" }, clipHoldToggle { "Clip Hold" }, enabledToggle { "Meter On" };

    static const std::array<double, 5> decayTimes;
    static const juce::StringArray referenceLabels;

private:
    LevelMeter& meter;
    juce::Label typeLabel, levelDecayLabel, peakDecayLabel, lufsTypeLabel, referenceLabel;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeterSettingsComponent)
};

} // namespace Marlode
