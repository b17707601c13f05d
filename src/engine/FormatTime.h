#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

/*  Every text that shows a time as a clock reads the same whole parts of it. The time is taken
    to the nearest microsecond and then cut to the millisecond, so a position that binary
    fractions store a hair short (1.001 s is 1.000999...) reads as the millisecond it is, while
    no text shows a millisecond the time hasn't reached. A negative time or NaN reads as zero,
    and times past about 31 700 years stop there.
*/

/** The clock text of the ruler and the view labels: "mm:ss.mmm", with hours ("h:mm:ss.mmm")
    from an hour on, and "0:00.000" for any negative time. */
[[nodiscard]] juce::String formatTime (double seconds);

/** The deck's readout: "mm:ss.mmm" under an hour, "hh:mm:ss.t" for long tracks (hours aren't
    shown at all in the short form). */
[[nodiscard]] juce::String timerText (bool showHours, double seconds);

/** The playlist's length column: "hh:mm:ss". */
[[nodiscard]] juce::String durationText (double seconds);

} // namespace Marlode
