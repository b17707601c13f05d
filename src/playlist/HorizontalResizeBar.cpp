#include "playlist/HorizontalResizeBar.h"
#include "ui/Palette.h"

namespace Marlode
{

HorizontalResizeBar::HorizontalResizeBar()
{
    setMouseCursor (juce::MouseCursor::LeftRightResizeCursor);
}

void HorizontalResizeBar::paint (juce::Graphics& g)
{
    g.setColour (midGreyColour);
    const auto centre = getLocalBounds().toFloat().getCentre();
    g.drawLine (centre.x, centre.y - 20.0f, centre.x, centre.y + 20.0f, 2.0f);
}

void HorizontalResizeBar::mouseDown (const juce::MouseEvent&)
{
    if (onPress)
        onPress();
}

void HorizontalResizeBar::mouseDrag (const juce::MouseEvent& e)
{
    if (onMove)
        onMove (e.getDistanceFromDragStartX());
}

} // namespace Marlode
