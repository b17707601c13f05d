#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode::Slider
{

//==============================================================================
/**
    The flat bar slider for levels: a dark bar filled up to the value, with the value written in
    its middle. Values are amplitudes and read as dB. Message thread.
*/
class HorizontalSlider : public juce::Slider
{
public:
    HorizontalSlider();

    void paint (juce::Graphics&) override;
    juce::String getTextFromValue (double value) override;

    /** The text font's height at this component's height: small under 26 pixels. */
    [[nodiscard]] float getValueFontHeight() const noexcept { return getHeight() < 26 ? 12.5f : 25.0f; }

    /** The bar's extent as proportions of its usable width, 0 to 1. */
    [[nodiscard]] virtual juce::Range<float> getFilledRange();

    bool isBold = false;

    // The lowest level of the bar: one step of a 16-bit signal.
    static constexpr double minimumLevel = 3.0517585287270776e-5;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (HorizontalSlider)
};

} // namespace Marlode::Slider
