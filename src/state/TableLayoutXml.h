#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace Marlode
{

//==============================================================================
/**
    The playlist header's stored layout (TABLELAYOUT with sortedCol, sortForwards and one COLUMN
    a column with id, visible and width), read from outside text into a layout the header can
    take as it stands. Any thread.
*/
class TableLayoutXml
{
public:
    /** A clean TABLELAYOUT: only the given column ids, each once and in stored order, widths
        within the limits, visible unless stored as hidden, and a sort column that exists (else 0);
        null when the text is not a layout. The framework's own reader would take any width and
        hide columns by default. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> restore (const juce::String& text, const juce::Array<int>& columnIds,
                                                                    int minimumWidth, int maximumWidth);
};

} // namespace Marlode
