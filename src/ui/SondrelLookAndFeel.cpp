#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

SondrelLookAndFeel::SondrelLookAndFeel() : juce::LookAndFeel_V4 (juce::LookAndFeel_V4::getDarkColourScheme())
{
    setColour (juce::Slider::backgroundColourId, sliderBackColour);
    setColour (juce::Slider::trackColourId, textColour);
    setColour (juce::Slider::thumbColourId, thumbColour);
    setColour (juce::Slider::rotarySliderFillColourId, textColour);
    setColour (juce::Slider::rotarySliderOutlineColourId, textColour);
    setColour (juce::PopupMenu::backgroundColourId, juce::Colour (0xffd3d3d3));
    setColour (juce::PopupMenu::textColourId, juce::Colour (0xff000000));
    setColour (juce::TextButton::buttonColourId, widgetColour);
    setColour (juce::ResizableWindow::backgroundColourId, backgroundColour);
}

} // namespace Marlode
