#include "deck/TrackNameLabel.h"

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
    g.setColour (juce::Colour (0xff4b4b4b));
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);
    g.setColour (juce::Colour (0xfff5f5f5));
    g.setFont ((float) getHeight() * 0.6f);
    g.drawText (text, getLocalBounds().reduced (2, 2), juce::Justification::centred, true);
}

} // namespace Marlode
