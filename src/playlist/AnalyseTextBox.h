#pragma once

#include "playlist/AnalyseItem.h"
#include "playlist/PlaylistRow.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <vector>

namespace Marlode::Analyse
{

//==============================================================================
/**
    The text of the analyse panel: a title and one "name: value" line per shown item for a
    track or the totals of several, or a status text in their place. It sizes itself to its
    lines; the panel's viewport scrolls it. Message thread.
*/
class TextBox : public juce::Component
{
public:
    /** `items` is shared with the options popup and outlives this box. */
    explicit TextBox (const std::vector<AnalyseItem>& items);

    /** The values of `row` under `title`; totals show only the levels. */
    void showRow (const PlaylistRow& row, const juce::String& title, bool isTotals);

    /** `text` in place of the lines, on up to 4 lines. */
    void showStatus (const juce::String& text);

    /** Takes `width`, the row height that suits it, and the height of what is shown. */
    void layOut (int width);

    /** What a value line shows for the item with cell id `id`. */
    [[nodiscard]] juce::String getValueText (int id) const;

    /** What is drawn, top to bottom: the status text alone, or the title and each shown line as
        "name: value". */
    [[nodiscard]] juce::StringArray getLines() const;

    /** A blank before a value that isn't negative, so that signs line up; "-0.00" shows as "-". */
    [[nodiscard]] static juce::String alignedValue (const juce::String& cellText);

    [[nodiscard]] bool isInStatusMode() const noexcept { return statusMode; }
    [[nodiscard]] int getRowHeight() const noexcept { return rowHeight; }

    void paint (juce::Graphics&) override;
    void resized() override;

    static constexpr int statusLines = 4;

private:
    [[nodiscard]] float fontHeight() const noexcept { return (float) rowHeight * 0.75f; }

    const std::vector<AnalyseItem>& items;
    PlaylistRow displayedRow;
    juce::String titleText;
    bool statusMode = true, showsTotals = false;
    juce::String statusText;
    struct ItemRects
    {
        const AnalyseItem* item;
        juce::Rectangle<int> name, value;
    };
    std::vector<ItemRects> itemRects; // one a shown item
    int rowHeight = 20;
    int itemsHeight = 0, statusHeight = 0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TextBox)
};

} // namespace Marlode::Analyse
