#include "support/OutsideXml.h"
#include "state/PlaylistXml.h"
#include "state/SafeXml.h"
#include "state/TableLayoutXml.h"

#include <cstring>

namespace MarlodeTest
{

namespace
{
    using namespace Marlode;

    constexpr int minimumWidth = 20, maximumWidth = 1000;

    juce::Array<int> playlistColumnIds()
    {
        return { 1, 2, 6, 4, 8, 9, 5, 7, 3 };
    }

    juce::String checkLayout (const juce::String& text)
    {
        const auto layout = TableLayoutXml::restore (text, playlistColumnIds(), minimumWidth, maximumWidth);

        if (layout == nullptr)
            return {};

        juce::Array<int> seen;

        for (const auto* column : layout->getChildIterator())
        {
            const auto id = column->getIntAttribute ("id");
            const auto width = column->getIntAttribute ("width");

            if (! playlistColumnIds().contains (id) || seen.contains (id) || width < minimumWidth || width > maximumWidth)
                return "broken: layout column out of bounds";

            seen.add (id);
        }

        // A clean layout is a fixed point: restoring its own text gives it back.
        const auto again = TableLayoutXml::restore (layout->toString(), playlistColumnIds(), minimumWidth, maximumWidth);

        if (again == nullptr || ! again->isEquivalentTo (layout.get(), false))
            return "broken: layout changes when restored again";

        return {};
    }

    juce::String checkPlaylist (const juce::XmlElement& document)
    {
        if (! document.hasTagName ("PLAYLIST_DATA"))
            return {};

        const auto paths = PlaylistXml::trackPaths (document);
        juce::String error;
        const auto written = PlaylistXml::create (paths)->toString();
        const auto reread = SafeXml::parse (written, error);

        if (reread == nullptr || PlaylistXml::trackPaths (*reread) != paths)
            return "broken: playlist paths don't survive saving (" + error + ")";

        return {};
    }
}

juce::String readOutsideXml (const void* data, size_t size)
{
    const auto* bytes = static_cast<const char*> (data);
    juce::String error;
    const auto document = SafeXml::parse (data, size, error);

    // The same bytes as a String, as the session and a stored layout arrive: kept as they came,
    // bad UTF-8 and all, and ending at the first NUL.
    const juce::String text (juce::CharPointer_UTF8 (bytes), juce::CharPointer_UTF8 (bytes + size));
    juce::String textError;
    const auto fromText = SafeXml::parse (text, textError);

    if (std::memchr (bytes, 0, size) == nullptr
        && ((document == nullptr) != (fromText == nullptr)
            || (document != nullptr && ! document->isEquivalentTo (fromText.get(), false))))
        return "broken: bytes and String read differently";

    const auto layoutProblem = checkLayout (text);
    if (layoutProblem.isNotEmpty())
        return layoutProblem;

    if (document == nullptr)
        return "refused: " + error;

    const auto playlistProblem = checkPlaylist (*document);
    if (playlistProblem.isNotEmpty())
        return playlistProblem;

    // Whatever was read can be written and read again.
    juce::String writtenError;
    if (SafeXml::parse (document->toString(), writtenError) == nullptr)
        return "broken: a document read can't be read after writing (" + writtenError + ")";

    return document->getTagName();
}

} // namespace MarlodeTest
