#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

// The palette shared by the whole interface (ARGB).
inline const juce::Colour backgroundColour { 0xff282a28 }; // windows, panels, popup boxes, title bar
inline const juce::Colour textColour { 0xfff5f5f5 };       // text, slider tracks, rotary fill and outline
inline const juce::Colour widgetColour { 0xff3c3c3c };     // text buttons, off indicators
inline const juce::Colour midGreyColour { 0xff808080 };    // outlines, muted text
inline const juce::Colour sliderBackColour { 0xff0f0f0f };
inline const juce::Colour thumbColour { 0xff969696 };
inline const juce::Colour frameDarkColour { 0xff0f110f };
inline const juce::Colour dimColour { 0x80323232 };        // overlay behind a popup
inline const juce::Colour closeHoverColour { 0xff8b0000 };
inline const juce::Colour panelMidColour { 0xff4b4b4b };   // raised panels
inline const juce::Colour onColour { 0xff008000 };
inline const juce::Colour offColour { 0xffff0000 };

/** The application's dark grey look; the default look of every component. */
class SondrelLookAndFeel : public juce::LookAndFeel_V4
{
public:
    SondrelLookAndFeel();

    void drawTableHeaderColumn (juce::Graphics&, juce::TableHeaderComponent&, const juce::String& columnName,
                                int columnId, int width, int height, bool isMouseOver, bool isMouseDown,
                                int columnFlags) override;

    int getPopupMenuBorderSize() override { return 4; }
    int getTabButtonOverlap (int) override { return 1; }
};

} // namespace Marlode
