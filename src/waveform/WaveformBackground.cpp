#include "waveform/WaveformBackground.h"

namespace Marlode
{

WaveformBackground::WaveformBackground()
{
    setInterceptsMouseClicks (false, false);
    fade.setFill (juce::Colour (0x400f0f0f));
    addChildComponent (fade);
}

void WaveformBackground::setWaveformArea (juce::Rectangle<int> area)
{
    waveformArea = area;
    fade.setRectangle (area.toFloat());
    repaint();
}

void WaveformBackground::setFading (bool shouldFade)
{
    fading = shouldFade;
    fade.setVisible (shouldFade);
    repaint();
}

void WaveformBackground::paint (juce::Graphics& g)
{
    g.setColour (juce::Colour (0xff282a28));
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);

    g.setColour (juce::Colour (0xfff5f5f5));
    g.fillRect (waveformArea.getX() + 1, waveformArea.getY(), waveformArea.getWidth() - 2, 1);
    g.fillRect (waveformArea.getX() + 1, waveformArea.getBottom() - 1, waveformArea.getWidth() - 2, 1);
}

} // namespace Marlode
