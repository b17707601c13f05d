#include "state/PlaylistXml.h"

namespace Marlode
{

std::unique_ptr<juce::XmlElement> PlaylistXml::create (const juce::StringArray& paths)
{
    auto playlist = std::make_unique<juce::XmlElement> ("PLAYLIST_DATA");

    // From the last row to the first: prepending is constant time, appending walks the list.
    for (int id = paths.size(); --id >= 0;)
    {
        auto* track = new juce::XmlElement ("TRACK");
        track->setAttribute ("ID", id);
        track->setAttribute ("Path", paths[id]);
        playlist->prependChildElement (track);
    }

    return playlist;
}

juce::StringArray PlaylistXml::trackPaths (const juce::XmlElement& playlist)
{
    juce::StringArray paths;

    for (const auto* child : playlist.getChildIterator())
        if (! child->isTextElement())
            paths.add (child->getStringAttribute ("Path"));

    return paths;
}

} // namespace Marlode
