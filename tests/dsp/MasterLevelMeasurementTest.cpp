#include "dsp/MasterLevelMeasurement.h"

#include <gtest/gtest.h>

using Marlode::MasterLevelMeasurement;

namespace
{
void feed (MasterLevelMeasurement& m, float value, int n = 512)
{
    juce::AudioBuffer<float> b (2, n);
    for (int c = 0; c < 2; ++c)
        juce::FloatVectorOperations::fill (b.getWritePointer (c), value, n);
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

TEST (MasterLevelMeasurement, RisesAtOnceAndFallsLinearlyOverHalfASecond)
{
    MasterLevelMeasurement m;
    m.prepare (44100.0); // ramp of 22050 samples

    feed (m, 0.1f); // -20 dB
    EXPECT_NEAR (m.getDisplayedDb (0), -20.0f, 1e-3f);
    feed (m, 1.0f);
    EXPECT_NEAR (m.getDisplayedDb (0), 0.0f, 1e-4f) << "a louder block shows at once";

    // Silence: the target becomes -100, reached 22050 samples after the fall begins.
    feed (m, 0.0f, 441);
    EXPECT_NEAR (m.getDisplayedDb (0), 0.0f, 1e-4f) << "the fall starts from the next block";

    int samples = 0;
    float previous = m.getDisplayedDb (0);
    while (m.getDisplayedDb (0) > -100.0f && samples < 44100)
    {
        feed (m, 0.0f, 441);
        samples += 441;
        const auto now = m.getDisplayedDb (0);
        EXPECT_NEAR (previous - now, 100.0f * 441.0f / 22050.0f, 1e-2f);
        previous = now;
    }

    EXPECT_EQ (samples, 22050);
}

TEST (MasterLevelMeasurement, ADeviceRestartEndsAFallAtOnce)
{
    MasterLevelMeasurement m;
    m.prepare (48000.0);
    feed (m, 1.0f);
    feed (m, 0.0f);
    feed (m, 0.0f);
    EXPECT_GT (m.getDisplayedDb (0), -100.0f);

    m.prepare (48000.0);
    feed (m, 0.0f, 1);
    EXPECT_EQ (m.getDisplayedDb (0), -100.0f);
}
