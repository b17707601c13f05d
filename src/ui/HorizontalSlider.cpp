#include "ui/HorizontalSlider.h"

#include <cmath>

namespace Marlode::Slider
{

HorizontalSlider::HorizontalSlider() : juce::Slider (juce::Slider::LinearBar, juce::Slider::NoTextBox)
{
    setWantsKeyboardFocus (false);
}

juce::String HorizontalSlider::getTextFromValue (double value)
{
    // Volume bars read in dB; other uses give their own text.
    if (textFromValueFunction)
        return textFromValueFunction (value);

    const auto dB = value > 0.0 ? juce::jmax (20.0 * std::log10 (value), -100.0) : -100.0;
    return dB <= -100.0 ? juce::String ("-Inf") : juce::String (dB, 1) + " dB";
}

juce::Range<float> HorizontalSlider::getFilledRange()
{
    // The slider's own proportion already carries a symmetric skew.
    const auto p = (float) juce::jlimit (0.0, 1.0, valueToProportionOfLength (getValue()));
    return { 0.0f, p };
}

void HorizontalSlider::paint (juce::Graphics& g)
{
    const auto bounds = getLocalBounds().toFloat();
    const auto w = juce::jmax (1.0f, bounds.getWidth() - 2.0f);
    const auto usable = w * (w - 4.0f) / w;

    g.setColour (findColour (juce::Slider::backgroundColourId));
    g.fillRect (bounds);

    const auto filled = getFilledRange();
    g.setColour (findColour (juce::Slider::thumbColourId).withAlpha (0.6f));
    g.fillRect (juce::Rectangle<float> (1.0f + 2.0f + filled.getStart() * usable, 1.0f, filled.getLength() * usable,
                                        bounds.getHeight() - 2.0f));

    g.setColour (findColour (juce::Slider::trackColourId));
    g.setFont (juce::Font (getValueFontHeight(), isBold ? juce::Font::bold : juce::Font::plain));
    g.drawText (getTextFromValue (getValue()), getLocalBounds(), juce::Justification::centred, false);
}

} // namespace Marlode::Slider
