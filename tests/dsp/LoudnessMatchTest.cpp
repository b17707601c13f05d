#include "dsp/LoudnessMatch.h"

#include <gtest/gtest.h>

#include <cmath>

using Marlode::LoudnessMatch;

TEST (LoudnessMatch, EveryMeasuredTrackComesDownToTheQuietestAndTheRestStayAtUnity)
{
    const auto nan = std::nan ("");
    EXPECT_EQ (LoudnessMatch::gainsDb ({ -9.5, -16.0, nan, -12.25, -80.0 }),
               (std::vector<double> { -6.5, 0.0, 0.0, -3.75, 0.0 }));
    EXPECT_EQ (LoudnessMatch::gainsDb ({ nan, -100.0 }), (std::vector<double> { 0.0, 0.0 }));
    EXPECT_EQ (LoudnessMatch::gainsDb ({ -70.0, -20.0 }), (std::vector<double> { 0.0, -50.0 })) << "the gate itself counts";
    EXPECT_TRUE (LoudnessMatch::gainsDb ({}).empty());
}
