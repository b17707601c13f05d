#include "waveform/WaveformBackground.h"

namespace Marlode
{

WaveformBackground::WaveformBackground()
{
    setInterceptsMouseClicks (false, false);
}

void WaveformBackground::paint (juce::Graphics& g)
{
    g.setColour (juce::Colour (0xff0f0f0f));
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 5.0f);
}

} // namespace Marlode
