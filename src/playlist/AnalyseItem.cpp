#include "playlist/AnalyseItem.h"

namespace Marlode
{

juce::String AnalyseItem::getSettingName() const
{
    return name.replaceCharacter (' ', '_').toUpperCase() + "_VIEW";
}

std::vector<AnalyseItem> AnalyseItem::createAll()
{
    static const char* const names[] = { "Playlist Position", "File name",   "FilePath",  "Format",     "File Size", "Duration",
                                         "Channels",          "Sample Rate", "Bits",      "LUFS",       "TPMax",     "RMS Stereo",
                                         "RMS Left",          "RMS Right",   "Peak Left", "Peak Right", "Time" };

    std::vector<AnalyseItem> items;
    int id = 0;

    // The ids are the playlist's cell ids, whose text function gives each value.
    for (auto* n : names)
        items.push_back ({ ++id, n, true });

    return items;
}

} // namespace Marlode
