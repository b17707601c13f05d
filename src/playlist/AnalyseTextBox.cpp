#include "playlist/AnalyseTextBox.h"
#include "playlist/PlaylistComponent.h"
#include "ui/Palette.h"

namespace Marlode::Analyse
{

namespace
{
    constexpr int minimumRowHeight = 16, maximumRowHeight = 26;
    // Row height per pixel of width: a wider panel reads in a larger font.
    constexpr int widthPerRowHeight = 14;
    constexpr int namePadding = 8;

    // Ids of the measured levels, the only values a total has.
    bool isLevel (int id)
    {
        return id >= 10 && id <= 16;
    }
}

TextBox::TextBox (const std::vector<AnalyseItem>& sharedItems) : items (sharedItems)
{
}

void TextBox::showRow (const PlaylistRow& row, const juce::String& title, bool isTotals)
{
    displayedRow = row;
    titleText = title;
    showsTotals = isTotals;
    statusMode = false;
    layOut (getWidth());
    repaint();
}

void TextBox::showStatus (const juce::String& text)
{
    statusText = text;
    statusMode = true;
    layOut (getWidth());
    repaint();
}

juce::String TextBox::getValueText (int id) const
{
    if (showsTotals && ! isLevel (id))
        return {};

    return alignedValue (PlaylistComponent::getCellText (displayedRow, id));
}

juce::String TextBox::alignedValue (const juce::String& cellText)
{
    if (cellText.isEmpty())
        return {};

    if (cellText.upToFirstOccurrenceOf (" ", false, false) == "-0.00")
        return "-" + cellText.fromFirstOccurrenceOf (" ", true, false);

    return cellText.startsWithChar ('-') ? cellText : " " + cellText;
}

juce::StringArray TextBox::getLines() const
{
    if (statusMode)
        return { statusText };

    juce::StringArray lines { titleText };
    for (const auto& item : items)
        if (item.visible)
            lines.add (item.name + ":" + getValueText (item.id));
    return lines;
}

//==============================================================================
void TextBox::layOut (int width)
{
    rowHeight = juce::jlimit (minimumRowHeight, maximumRowHeight, width / widthPerRowHeight);

    const auto shown = (int) std::count_if (items.begin(), items.end(), [] (const AnalyseItem& i) { return i.visible; });
    itemsHeight = rowHeight * (1 + shown);
    statusHeight = rowHeight * statusLines;

    setSize (width, statusMode ? statusHeight : itemsHeight);
    resized();
}

void TextBox::resized()
{
    const juce::Font font (fontHeight());
    float nameWidth = 0.0f;

    for (const auto& item : items)
        if (item.visible)
            nameWidth = std::max (nameWidth, font.getStringWidthFloat (item.name + ":"));

    const auto nameColumn = juce::jmin (getWidth(), (int) std::ceil (nameWidth) + namePadding);
    itemRects.clear();
    int y = rowHeight; // under the title

    for (const auto& item : items)
    {
        if (! item.visible)
            continue;

        const juce::Rectangle<int> name (0, y, nameColumn, rowHeight);
        itemRects.push_back ({ &item, name, name.withX (nameColumn).withWidth (getWidth() - nameColumn) });
        y += rowHeight;
    }
}

void TextBox::paint (juce::Graphics& g)
{
    g.setColour (textColour);
    g.setFont (fontHeight());

    if (statusMode)
    {
        g.drawFittedText (statusText, getLocalBounds(), juce::Justification::centred, statusLines, 0.0f);
        return;
    }

    g.drawText (titleText, getLocalBounds().withHeight (rowHeight), juce::Justification::centred, true);

    for (const auto& line : itemRects)
    {
        g.drawText (line.item->name + ":", line.name, juce::Justification::centredRight, true);
        g.drawText (getValueText (line.item->id), line.value, juce::Justification::centredLeft, true);
    }
}

} // namespace Marlode::Analyse
