#pragma once

#include "playlist/AnalyseItem.h"
#include "state/DeckState.h"
#include "ui/PopupDisplayComponent.h"

#include <memory>
#include <vector>

namespace Marlode::Analyse
{

//==============================================================================
/**
    The popup that chooses which lines the analyse panel shows: one toggle an item. A click sets
    the item's `visible` and sends "Analyse Options Changed". Message thread.
*/
class OptionsComponent : public PopupDisplayComponent,
                         public juce::ActionBroadcaster
{
public:
    explicit OptionsComponent (PopupDisplayComponent*& activePopup);

    /** The items, shared with the panel's text; the session keeps their `visible` flags. */
    std::vector<AnalyseItem> items = AnalyseItem::createAll();

    /** Each item's shown flag under its setting name. setState sets the toggles of the names it
        holds, with their notification, then tells the listeners once more. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    [[nodiscard]] juce::ToggleButton& getToggle (int index) { return *toggles[(size_t) index]; }

    void resized() override;

    static constexpr const char* changedMessage = "Analyse Options Changed";
    static constexpr int boxWidth = 420, boxHeight = 290;

private:
    std::vector<std::unique_ptr<juce::ToggleButton>> toggles;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (OptionsComponent)
};

} // namespace Marlode::Analyse
