#include "waveform/WaveformBackground.h"
#include "ui/Palette.h"

namespace Marlode
{

WaveformBackground::WaveformBackground()
{
    setInterceptsMouseClicks (false, false);
    fade.setFill (waveformFadeColour);
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
    g.setColour (backgroundColour);
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);

    g.setColour (textColour);
    g.fillRect (waveformArea.getX() + 1, waveformArea.getY(), waveformArea.getWidth() - 2, 1);
    g.fillRect (waveformArea.getX() + 1, waveformArea.getBottom() - 1, waveformArea.getWidth() - 2, 1);
}

} // namespace Marlode
