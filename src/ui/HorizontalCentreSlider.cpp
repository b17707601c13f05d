#include "ui/HorizontalCentreSlider.h"

namespace Marlode::Slider
{

juce::Range<float> HorizontalCentreSlider::getFilledRange()
{
    const auto centre = (float) valueToProportionOfLength ((getMinimum() + getMaximum()) / 2.0);
    const auto p = (float) juce::jlimit (0.0, 1.0, valueToProportionOfLength (getValue()));
    return { juce::jmin (centre, p), juce::jmax (centre, p) };
}

} // namespace Marlode::Slider
