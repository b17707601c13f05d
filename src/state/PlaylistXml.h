#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace Marlode
{

//==============================================================================
/**
    The playlist's file form: a PLAYLIST_DATA element with one TRACK a row, in display order,
    carrying the row's index as ID and its full path as Path. Any thread.
*/
class PlaylistXml
{
public:
    /** The element for these paths, in this order. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> create (const juce::StringArray& paths);

    /** Each child element's Path in document order, empty where it has none. Document order
        decides: the stored ID is not trusted. */
    [[nodiscard]] static juce::StringArray trackPaths (const juce::XmlElement& playlist);
};

} // namespace Marlode
