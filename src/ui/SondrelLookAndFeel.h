#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

// The palette shared by the whole interface (ARGB).
inline const juce::Colour backgroundColour { 0xff282a28 };
inline const juce::Colour textColour { 0xfff5f5f5 };
inline const juce::Colour widgetColour { 0xff3c3c3c };
inline const juce::Colour midGreyColour { 0xff808080 };
inline const juce::Colour sliderBackColour { 0xff0f0f0f };
inline const juce::Colour thumbColour { 0xff969696 };
inline const juce::Colour frameDarkColour { 0xff0f110f };
inline const juce::Colour dimColour { 0x80323232 };
inline const juce::Colour closeHoverColour { 0xff8b0000 };
inline const juce::Colour panelMidColour { 0xff4b4b4b };
inline const juce::Colour onColour { 0xff008000 };
inline const juce::Colour offColour { 0xffff0000 };

/** The application's dark grey look. */
class SondrelLookAndFeel : public juce::LookAndFeel_V4
{
public:
    SondrelLookAndFeel();
};

} // namespace Marlode
