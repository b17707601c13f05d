#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

//==============================================================================
/**
    Every text that shows a time as a clock reads the same whole parts of it. The time is
    taken to the nearest microsecond and then cut to the millisecond, so a position that
    binary fractions store a hair short (1.001 s is 1.000999...) reads as the millisecond it
    is, while no time ever shows a millisecond it hasn't reached yet. A negative time or NaN
    reads as zero, and times past `maxSeconds` stop there.
*/
struct ClockTime
{
    juce::int64 hours = 0;
    int minutes = 0;       // 0 to 59
    int seconds = 0;       // 0 to 59
    int milliseconds = 0;  // 0 to 999

    /** About 31 700 years: far past any track, and small enough for microseconds in 64 bits. */
    static constexpr double maxSeconds = 1.0e12;

    [[nodiscard]] static ClockTime fromSeconds (double seconds) noexcept;
    [[nodiscard]] juce::int64 totalSeconds() const noexcept { return hours * 3600 + minutes * 60 + seconds; }
    [[nodiscard]] juce::int64 totalMilliseconds() const noexcept { return totalSeconds() * 1000 + milliseconds; }
};

/** The clock text of the ruler and the view labels: "mm:ss.mmm", with hours ("h:mm:ss.mmm")
    from an hour on, and "0:00.000" for any negative time. */
[[nodiscard]] juce::String formatTime (double seconds);

/** The deck's readout: "mm:ss.mmm" under an hour, "hh:mm:ss.t" for long tracks (hours aren't
    shown at all in the short form). */
[[nodiscard]] juce::String timerText (bool showHours, double seconds);

/** The playlist's length column: "hh:mm:ss". */
[[nodiscard]] juce::String durationText (double seconds);

} // namespace Marlode
