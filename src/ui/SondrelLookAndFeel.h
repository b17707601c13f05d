#pragma once

#include "ui/Palette.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The application's dark grey look; the default look of every component. */
class SondrelLookAndFeel : public juce::LookAndFeel_V4
{
public:
    SondrelLookAndFeel();

    void drawTableHeaderColumn (juce::Graphics&, juce::TableHeaderComponent&, const juce::String& columnName, int columnId,
                                int width, int height, bool isMouseOver, bool isMouseDown, int columnFlags) override;

    int getPopupMenuBorderSize() override { return 4; }
    int getTabButtonOverlap (int) override { return 1; }
};

} // namespace Marlode
