#include "dsp/MasterGainStage.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using Marlode::MasterGainStage;

namespace
{
juce::AudioBuffer<float> noise (int channels, int n)
{
    juce::Random r (1234);
    return MarlodeTest::makeBuffer (channels, n, [&] (int, int) { return r.nextFloat() * 2.0f - 1.0f; });
}
}

TEST (MasterGainStage, UnityPassesBitForBit)
{
    MasterGainStage stage;
    stage.setGain (1.0);
    stage.setPanFromSlider (0.0);
    auto b = noise (2, 512);
    const auto original = b;
    stage.process (juce::AudioSourceChannelInfo (&b, 0, 512));

    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < 512; ++i)
            ASSERT_EQ (b.getSample (c, i), original.getSample (c, i));
}

TEST (MasterGainStage, LinearBalanceLaw)
{
    MasterGainStage stage;

    // Volume 0.5 with pan +45: left 0.25, right 0.5, over only the block's region.
    stage.setGain (0.5);
    stage.setPanFromSlider (45.0);
    auto b = MarlodeTest::makeBuffer (2, 64, [] (int, int) { return 1.0f; });
    stage.process (juce::AudioSourceChannelInfo (&b, 16, 32));

    EXPECT_EQ (b.getSample (0, 15), 1.0f);
    EXPECT_EQ (b.getSample (0, 16), 0.25f);
    EXPECT_EQ (b.getSample (1, 47), 0.5f);
    EXPECT_EQ (b.getSample (1, 48), 1.0f);
}

TEST (MasterGainStage, OtherChannelCountsIgnorePan)
{
    MasterGainStage stage;
    stage.setGain (0.5);
    stage.setPanFromSlider (-90.0);

    auto mono = MarlodeTest::makeBuffer (1, 32, [] (int, int) { return 1.0f; });
    stage.process (juce::AudioSourceChannelInfo (&mono, 0, 32));
    EXPECT_EQ (mono.getSample (0, 0), 0.5f);
}
