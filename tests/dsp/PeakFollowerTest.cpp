#include "dsp/PeakFollower.h"

#include <gtest/gtest.h>

#include <limits>

using Marlode::PeakFollower;

TEST (PeakFollower, RisesAtOnceFallsInTheSetTimeAndResets)
{
    PeakFollower f (-70.0f);
    f.setFallTime (0.5, 48000.0); // 24000 samples from wherever the fall starts

    f.follow (-20.0f);
    EXPECT_EQ (f.getCurrentDb(), -20.0f) << "a rise shows at once";

    f.follow (-70.0f);
    f.advance (23999);
    EXPECT_GT (f.getCurrentDb(), -70.0f) << "one sample before the set time the floor isn't reached";
    EXPECT_NEAR (f.getCurrentDb(), -20.0f - 50.0f * 23999.0f / 24000.0f, 1e-3f) << "the fall is a straight line in dB";
    f.advance (1);
    EXPECT_EQ (f.getCurrentDb(), -70.0f);

    // A lower value halfway restarts the line: the whole set time again from there.
    f.follow (0.0f);
    f.follow (-30.0f);
    f.advance (12000);
    f.follow (-70.0f);
    f.advance (12000);
    EXPECT_NEAR (f.getCurrentDb(), -15.0f - 27.5f, 1e-3f);

    // The same lower value again leaves the running fall alone.
    f.follow (-70.0f);
    f.advance (12000);
    EXPECT_EQ (f.getCurrentDb(), -70.0f);

    f.follow (-6.0f);
    f.follow (std::numeric_limits<float>::quiet_NaN());
    f.advance (24000);
    EXPECT_EQ (f.getCurrentDb(), -70.0f) << "not a number falls like silence";

    f.follow (-6.0f);
    f.follow (-70.0f);
    f.setFallTime (0.5, 48000.0);
    EXPECT_EQ (f.getCurrentDb(), -70.0f) << "a new rate ends the fall under way";

    f.follow (-3.0f);
    f.reset();
    EXPECT_EQ (f.getCurrentDb(), -70.0f);

    // A hostile stored fall time falls at once instead of overflowing the step count.
    for (const auto seconds : { std::numeric_limits<double>::quiet_NaN(), -1.0, 1.0e300 })
    {
        f.setFallTime (seconds, 48000.0);
        f.follow (-3.0f);
        f.follow (-70.0f);
        f.advance (1);
        EXPECT_EQ (f.getCurrentDb(), seconds > 1.0 ? -3.0f : -70.0f) << seconds;
        f.reset();
    }
}
