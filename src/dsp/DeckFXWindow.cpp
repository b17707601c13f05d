#include "dsp/DeckFXWindow.h"

namespace Marlode
{

DeckFXWindow::DeckFXWindow() : DesktopWindowComponent ("FX", { 0, 0, 1000, 290 }, nullptr)
{
    // It lives inside the deck's upper panel, under the deck's own panel buttons.
    hasTitleBar = false;
}

void DeckFXWindow::prepare (double sampleRate, int, int)
{
    preparedRate = sampleRate;
}

void DeckFXWindow::process (const juce::AudioSourceChannelInfo&) noexcept
{
}

} // namespace Marlode
