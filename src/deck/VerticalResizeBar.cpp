#include "deck/VerticalResizeBar.h"
#include "ui/Palette.h"

namespace Marlode
{

VerticalResizeBar::VerticalResizeBar()
{
    setMouseCursor (juce::MouseCursor::UpDownResizeCursor);
}

void VerticalResizeBar::paint (juce::Graphics& g)
{
    g.setColour (midGreyColour);
    const auto y = (float) getHeight() / 2.0f;
    g.drawLine ((float) getWidth() / 2.0f - 20.0f, y, (float) getWidth() / 2.0f + 20.0f, y, 2.0f);
}

void VerticalResizeBar::mouseDrag (const juce::MouseEvent& e)
{
    if (onDrag)
        onDrag (e.getDistanceFromDragStartY());
}

void VerticalResizeBar::mouseUp (const juce::MouseEvent&)
{
    if (onDrag)
        onDrag (0);
}

} // namespace Marlode
