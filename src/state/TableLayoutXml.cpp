#include "state/TableLayoutXml.h"
#include "state/SafeXml.h"

namespace Marlode
{

std::unique_ptr<juce::XmlElement> TableLayoutXml::restore (const juce::String& text, const juce::Array<int>& columnIds,
                                                           int minimumWidth, int maximumWidth)
{
    juce::String error;
    const auto stored = SafeXml::parse (text, error);

    if (stored == nullptr || ! stored->hasTagName ("TABLELAYOUT"))
        return {};

    auto clean = std::make_unique<juce::XmlElement> ("TABLELAYOUT");
    const auto sorted = stored->getIntAttribute ("sortedCol");
    clean->setAttribute ("sortedCol", columnIds.contains (sorted) ? sorted : 0);
    clean->setAttribute ("sortForwards", stored->getBoolAttribute ("sortForwards", true));

    juce::Array<int> seen;

    for (const auto* column : stored->getChildWithTagNameIterator ("COLUMN"))
    {
        const auto id = column->getIntAttribute ("id");

        if (! columnIds.contains (id) || seen.contains (id))
            continue;

        seen.add (id);
        auto* c = clean->createNewChildElement ("COLUMN");
        c->setAttribute ("id", id);
        c->setAttribute ("visible", column->getBoolAttribute ("visible", true));
        c->setAttribute ("width", juce::jlimit (minimumWidth, maximumWidth, column->getIntAttribute ("width")));
    }

    return clean;
}

} // namespace Marlode
