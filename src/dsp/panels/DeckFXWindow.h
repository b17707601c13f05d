#pragma once

#include "dsp/panels/LimiterComponent.h"
#include "dsp/panels/MonoComponent.h"
#include "ui/DesktopWindowComponent.h"

namespace Marlode
{

//==============================================================================
/**
    The deck's effects panel: the time and pitch section, the mono / crossover / mid-side section
    and the limiter, side by side or stacked. It stands in the deck's upper panel under "FX" and
    owns the stages the deck's engine runs after its equaliser. Message thread.
*/
class DeckFXWindow : public DesktopWindowComponent
{
public:
    /** The time section belongs to the deck (it drives the deck's stretcher); it may be null.
        The limiter's display asks whether the deck plays. */
    DeckFXWindow (juce::Component* timeSection, std::function<bool()> deckIsPlaying);

    /** "Horizontal" (side by side) or "Vertical" (stacked). */
    void setLandscape (bool landscape);
    [[nodiscard]] bool isLandscape() const { return layoutBox.getSelectedId() != 2; }

    /** The layout, the limiter and the mono section as saved; the time section keeps its own. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    MonoComponent mono;
    LimiterComponent limiter;
    juce::ComboBox layoutBox;

protected:
    void layoutContent() override;

private:
    juce::Component* timeSection;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DeckFXWindow)
};

} // namespace Marlode
