#include "ui/ValueBarSlider.h"
#include "ui/Palette.h"

namespace Marlode::Slider
{

ValueBarSlider::ValueBarSlider (double minimum, double maximum, double step, const juce::String& suffix)
    : juce::Slider (juce::Slider::LinearBar, juce::Slider::TextBoxAbove)
{
    setRange (minimum, maximum, step);
    setTextValueSuffix (suffix);
    setColour (juce::Slider::backgroundColourId, sliderBackColour);
    setColour (juce::Slider::trackColourId, midGreyColour);
}

} // namespace Marlode::Slider
