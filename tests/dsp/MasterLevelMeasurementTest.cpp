#include "dsp/MasterLevelMeasurement.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using Marlode::MasterLevelMeasurement;

namespace
{
void feed (MasterLevelMeasurement& m, float value, int n = 512)
{
    auto b = MarlodeTest::makeBuffer (2, n, [=] (int, int) { return value; });
    m.process (juce::AudioSourceChannelInfo (&b, 0, n));
}
}

TEST (MasterLevelMeasurement, SignedMaximumAndFloor)
{
    MasterLevelMeasurement m;
    m.prepare (44100.0);

    feed (m, -1.0f);
    EXPECT_EQ (m.getLevelDb (0), -100.0f) << "a block of only negative samples reads as silence";

    feed (m, 0.5f);
    EXPECT_NEAR (m.getLevelDb (1), -6.0206f, 1e-3f);

    feed (m, 1.0e-6f);
    EXPECT_EQ (m.getLevelDb (0), -100.0f) << "-120 dB is held at the floor";
}

TEST (MasterLevelMeasurement, RisesAtOnceAndFallsFromTheNextBlockForHalfASecond)
{
    // The fall's shape is the peak follower's; here only when it starts and how long it takes.
    MasterLevelMeasurement m;
    m.prepare (44100.0);
    feed (m, 1.0f);
    EXPECT_NEAR (m.getDisplayedDb (0), 0.0f, 1e-4f) << "a louder block shows at once";
    feed (m, 0.0f, 441);
    EXPECT_NEAR (m.getDisplayedDb (0), 0.0f, 1e-4f) << "the fall starts from the next block";

    feed (m, 0.0f, 22050 - 441);
    EXPECT_GT (m.getDisplayedDb (0), -100.0f);
    feed (m, 0.0f, 441);
    EXPECT_EQ (m.getDisplayedDb (0), -100.0f);
}
