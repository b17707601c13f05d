#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace Marlode
{

/** One line of the analyse panel: the playlist cell id whose text it shows, its name, and
    whether the user wants it shown. */
struct AnalyseItem
{
    int id = 0;
    juce::String name;
    bool visible = true;

    /** The attribute under which the session keeps `visible`: the name in upper case with
        blanks as "_", then "_VIEW" ("PEAK_LEFT_VIEW"). */
    [[nodiscard]] juce::String getSettingName() const;

    /** The panel's 17 lines in their order, all shown. */
    [[nodiscard]] static std::vector<AnalyseItem> createAll();
};

} // namespace Marlode
