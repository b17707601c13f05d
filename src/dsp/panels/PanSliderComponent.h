#pragma once

#include "ui/HorizontalCentreSlider.h"

namespace Marlode::Slider
{

/** The balance bar: -90 (left) to +90 (right), "C" in the middle, a double click recentres.
    Its value is mapped to a linear balance in `pan`, `leftGain` and `rightGain`. */
class PanSliderComponent : public HorizontalCentreSlider
{
public:
    PanSliderComponent();

    void valueChanged() override;
    juce::String getTextFromValue (double value) override;

    double pan = 0.0;       // -1 (left) to +1 (right)
    double leftGain = 1.0;  // factor on channel 0
    double rightGain = 1.0; // factor on channel 1
};

} // namespace Marlode::Slider
