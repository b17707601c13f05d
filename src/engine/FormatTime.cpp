#include "engine/FormatTime.h"

#include <cmath>

namespace Marlode
{

namespace
{
    struct ClockTime
    {
        juce::int64 hours = 0, totalMilliseconds = 0;
        int minutes = 0, seconds = 0, milliseconds = 0;
    };

    // Far past any track, and small enough for its microseconds to fit in 64 bits.
    constexpr double maxSeconds = 1.0e12;

    ClockTime clockTime (double t) noexcept
    {
        // NaN fails every comparison, so it lands on zero with the negative times.
        const auto limited = t > 0.0 ? juce::jmin (t, maxSeconds) : 0.0;

        ClockTime c;
        c.totalMilliseconds = std::llround (limited * 1.0e6) / 1000;
        const auto totalSeconds = c.totalMilliseconds / 1000;
        c.hours = totalSeconds / 3600;
        c.minutes = (int) (totalSeconds % 3600 / 60);
        c.seconds = (int) (totalSeconds % 60);
        c.milliseconds = (int) (c.totalMilliseconds % 1000);
        return c;
    }
}

juce::String formatTime (double t)
{
    if (t < 0.0)
        return "0:00.000";

    const auto c = clockTime (t);

    // The milliseconds are the last three digits of the whole count, unpadded under a second.
    const auto ms = c.totalMilliseconds == 0 ? juce::String ("000") : juce::String (c.totalMilliseconds).getLastCharacters (3);

    juce::String text;
    if (c.hours > 0)
        text << c.hours << ":";
    if (c.minutes < 10)
        text << "0";
    text << c.minutes << ":";
    if (c.seconds < 10)
        text << "0";
    text << c.seconds << "." << ms;
    return text;
}

juce::String timerText (bool showHours, double seconds)
{
    const auto c = clockTime (seconds);

    if (showHours)
        return juce::String::formatted ("%02lld:%02d:%02d.%01d", (long long) c.hours, c.minutes, c.seconds, c.milliseconds / 100);

    return juce::String::formatted ("%02d:%02d.%03d", c.minutes, c.seconds, c.milliseconds);
}

juce::String durationText (double seconds)
{
    const auto c = clockTime (seconds);
    return juce::String::formatted ("%02lld:%02d:%02d", (long long) c.hours, c.minutes, c.seconds);
}

} // namespace Marlode
