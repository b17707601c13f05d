#include "deck/TrackNameLabel.h"
#include "ui/Palette.h"

namespace Marlode
{

TrackNameLabel::TrackNameLabel()
{
    setInterceptsMouseClicks (false, false);
}

void TrackNameLabel::setText (const juce::String& newText)
{
    if (text != newText)
    {
        text = newText;
        repaint();
    }
}

void TrackNameLabel::paint (juce::Graphics& g)
{
    g.setColour (panelMidColour);
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);
    g.setColour (textColour);
    g.setFont ((float) getHeight() * 0.6f);
    g.drawText (text, getLocalBounds().reduced (2, 2), juce::Justification::centred, true);
}

} // namespace Marlode
