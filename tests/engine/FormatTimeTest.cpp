#include "engine/FormatTime.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Marlode;

namespace
{
struct ClockCase
{
    double seconds;
    const char* ruler;     // formatTime: ruler ticks and the view's labels
    const char* clock;     // timerText, short form
    const char* longClock; // timerText, with hours
    const char* length;    // durationText: the playlist's column
};

void PrintTo (const ClockCase& c, std::ostream* os)
{
    *os << c.seconds << " s";
}

constexpr auto notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr auto infinity = std::numeric_limits<double>::infinity();

using FormatTimeTable = ::testing::TestWithParam<ClockCase>;
}

TEST_P (FormatTimeTable, EveryTextReadsTheSameMillisecond)
{
    const auto& c = GetParam();
    EXPECT_EQ (formatTime (c.seconds), juce::String (c.ruler));
    EXPECT_EQ (timerText (false, c.seconds), juce::String (c.clock));
    EXPECT_EQ (timerText (true, c.seconds), juce::String (c.longClock));
    EXPECT_EQ (durationText (c.seconds), juce::String (c.length));
}

INSTANTIATE_TEST_SUITE_P (
    Clock, FormatTimeTable,
    ::testing::Values (ClockCase { 0.0, "00:00.000", "00:00.000", "00:00:00.0", "00:00:00" },
                       // A negative time has its own ruler text; the other clocks read zero.
                       ClockCase { -0.1, "0:00.000", "00:00.000", "00:00:00.0", "00:00:00" },
                       // 1.001 is stored as 1.000999...: no text may drop the millisecond.
                       ClockCase { 1.001, "00:01.001", "00:01.001", "00:00:01.0", "00:00:01" },
                       // Under a second the ruler's milliseconds are the bare count.
                       ClockCase { 0.05, "00:00.50", "00:00.050", "00:00:00.0", "00:00:00" },
                       // Half a millisecond short of the minute is never rounded up into it.
                       ClockCase { 59.9995, "00:59.999", "00:59.999", "00:00:59.9", "00:00:59" },
                       ClockCase { 3599.999, "59:59.999", "59:59.999", "00:59:59.9", "00:59:59" },
                       ClockCase { 3599.9996, "59:59.999", "59:59.999", "00:59:59.9", "00:59:59" },
                       ClockCase { 3600.5, "1:00:00.500", "00:00.500", "01:00:00.5", "01:00:00" },
                       ClockCase { 3661.5, "1:01:01.500", "01:01.500", "01:01:01.5", "01:01:01" },
                       ClockCase { 7322.99, "2:02:02.990", "02:02.990", "02:02:02.9", "02:02:02" },
                       // Past any track: the clock stops at its limit, 277777777 h 46 min 40 s.
                       ClockCase { 1.0e300, "277777777:46:40.000", "46:40.000", "277777777:46:40.0", "277777777:46:40" },
                       ClockCase { infinity, "277777777:46:40.000", "46:40.000", "277777777:46:40.0", "277777777:46:40" },
                       ClockCase { -infinity, "0:00.000", "00:00.000", "00:00:00.0", "00:00:00" },
                       ClockCase { notANumber, "00:00.000", "00:00.000", "00:00:00.0", "00:00:00" }));

TEST (FormatTime, EveryWholeMillisecondReadsAsItself)
{
    // A position of k / 1000 s must read k milliseconds, never k - 1, on the clock and the ruler.
    for (juce::int64 k = 0; k < 3600 * 1000; k += 7)
    {
        const auto expected =
            juce::String::formatted ("%02d:%02d.%03d", (int) (k / 60000), (int) (k / 1000 % 60), (int) (k % 1000));
        ASSERT_EQ (timerText (false, (double) k / 1000.0), expected) << k;

        if (k >= 1000)
            ASSERT_EQ (formatTime ((double) k / 1000.0), expected) << k;
    }
}
