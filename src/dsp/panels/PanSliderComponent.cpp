#include "dsp/panels/PanSliderComponent.h"
#include "dsp/MasterGainStage.h"

#include <cmath>

namespace Marlode::Slider
{

PanSliderComponent::PanSliderComponent()
{
    setRange (-90.0, 90.0, 1.0);
    setValue (0.0, juce::dontSendNotification);
    setDoubleClickReturnValue (true, 0.0);
}

void PanSliderComponent::valueChanged()
{
    const auto balance = MasterGainStage::balanceFor (getValue());
    pan = balance.pan;
    leftGain = balance.left;
    rightGain = balance.right;
}

juce::String PanSliderComponent::getTextFromValue (double value)
{
    // The side comes from the unrounded value, so -0.4 reads "0L".
    if (value == 0.0)
        return "C";

    return juce::String (juce::roundToInt (std::abs (value))) + (value < 0.0 ? "L" : "R");
}

} // namespace Marlode::Slider
