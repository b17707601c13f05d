#pragma once

#include "ui/HorizontalSlider.h"

namespace Marlode::Slider
{

/** The bar slider for signed values: the fill runs from the range's centre to the value. */
class HorizontalCentreSlider : public HorizontalSlider
{
public:
    HorizontalCentreSlider() = default;

    juce::Range<float> getFilledRange() override;
};

} // namespace Marlode::Slider
