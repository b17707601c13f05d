#pragma once

#include "ui/DesktopWindowComponent.h"

namespace Marlode
{

//==============================================================================
/**
    The deck's effects panel: time stretch, mono / mid-side / crossover and the limiter. The
    processing is the deck engine's; this panel will edit it. Message thread.
*/
class DeckFXWindow : public DesktopWindowComponent
{
public:
    DeckFXWindow();

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DeckFXWindow)
};

} // namespace Marlode
