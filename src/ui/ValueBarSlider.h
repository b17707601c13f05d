#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode::Slider
{

/** A small bar that shows its value and unit inside it, for panel parameters (frequency, gain,
    Q, ratios). Message thread. */
class ValueBarSlider : public juce::Slider
{
public:
    ValueBarSlider (double minimum, double maximum, double step, const juce::String& suffix = {});

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ValueBarSlider)
};

} // namespace Marlode::Slider
