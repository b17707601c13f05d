#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

/** The clock text of the ruler and the view labels: "mm:ss.mmm", with hours ("h:mm:ss.mmm")
    from an hour on, and "0:00.000" for any negative time. Truncates, never rounds. */
juce::String formatTime (double seconds);

} // namespace Marlode
