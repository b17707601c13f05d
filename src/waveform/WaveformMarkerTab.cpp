#include "waveform/WaveformMarkerTab.h"
#include "ui/Palette.h"

namespace Marlode
{

WaveformMarkerTab::WaveformMarkerTab (int tabType) : type (tabType)
{
    switch (type)
    {
        case replay:
            shape.addRectangle (0.0f, 0.0f, 10.0f, 10.0f);
            colour = replayMarkerColour;
            cursor = juce::MouseCursor::LeftRightResizeCursor;
            break;
        case loopStart:
            shape.addTriangle (0.0f, 0.0f, 0.0f, 10.0f, 10.0f, 5.0f);
            colour = loopMarkerColour;
            cursor = juce::MouseCursor::RightEdgeResizeCursor;
            break;
        default:
            shape.addTriangle (10.0f, 0.0f, 10.0f, 10.0f, 0.0f, 5.0f);
            colour = loopMarkerColour;
            cursor = juce::MouseCursor::LeftEdgeResizeCursor;
            pathOffset = 1.0f;
            break;
    }
}

void WaveformMarkerTab::mouseEnter (const juce::MouseEvent&)
{
    setMouseCursor (cursor);
}
void WaveformMarkerTab::mouseExit (const juce::MouseEvent&)
{
    setMouseCursor (juce::MouseCursor::NormalCursor);
}
void WaveformMarkerTab::mouseDown (const juce::MouseEvent& e)
{
    dragStartX = e.x;
}

void WaveformMarkerTab::mouseDrag (const juce::MouseEvent& e)
{
    // The loop end tab reports its right edge, the others their left.
    const auto base = type == loopEnd ? getX() + getWidth() - 1 : getX();

    if (listener != nullptr)
        listener->tabDragged (this, e.x - dragStartX + base);
}

void WaveformMarkerTab::setPathOffset (float offset)
{
    if (! juce::approximatelyEqual (offset, pathOffset))
    {
        pathOffset = offset;
        resized();
        repaint();
    }
}

void WaveformMarkerTab::resized()
{
    drawArea = { pathOffset, 0.0f, (float) getWidth() - 2.0f, (float) getHeight() };
}

void WaveformMarkerTab::paint (juce::Graphics& g)
{
    auto transform = shape.getTransformToScaleToFit (drawArea.withX (0.0f), true).translated (pathOffset + 0.5f, 0.0f);
    g.setColour (colour);
    g.fillPath (shape, transform);
    g.strokePath (shape, juce::PathStrokeType (1.0f), transform);
}

} // namespace Marlode
