#include "dsp/DeckFXWindow.h"

namespace Marlode
{

DeckFXWindow::DeckFXWindow() = default;

void DeckFXWindow::prepare (double sampleRate, int, int)
{
    preparedRate = sampleRate;
}

void DeckFXWindow::process (const juce::AudioSourceChannelInfo&) noexcept
{
}

void DeckFXWindow::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff4b4b4b));
}

} // namespace Marlode
