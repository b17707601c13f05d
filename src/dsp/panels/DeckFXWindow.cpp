#include "dsp/panels/DeckFXWindow.h"

namespace Marlode
{

DeckFXWindow::DeckFXWindow() : DesktopWindowComponent ("FX", { 0, 0, 1000, 290 }, nullptr)
{
    // It lives inside the deck's upper panel, under the deck's own panel buttons.
    hasTitleBar = false;
}

} // namespace Marlode
