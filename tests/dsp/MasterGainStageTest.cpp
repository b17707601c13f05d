#include "dsp/MasterGainStage.h"

#include <gtest/gtest.h>

using Marlode::MasterGainStage;

namespace
{
juce::AudioBuffer<float> noise (int channels, int n)
{
    juce::AudioBuffer<float> b (channels, n);
    juce::Random r (1234);
    for (int c = 0; c < channels; ++c)
        for (int i = 0; i < n; ++i)
            b.setSample (c, i, r.nextFloat() * 2.0f - 1.0f);
    return b;
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

    stage.setPanFromSlider (-90.0);
    EXPECT_DOUBLE_EQ (stage.getLeftGain(), 1.0);
    EXPECT_DOUBLE_EQ (stage.getRightGain(), 0.0);

    // Volume 0.5 with pan +45: left 0.25, right 0.5, over only the block's region.
    stage.setGain (0.5);
    stage.setPanFromSlider (45.0);
    juce::AudioBuffer<float> b (2, 64);
    for (int c = 0; c < 2; ++c)
        juce::FloatVectorOperations::fill (b.getWritePointer (c), 1.0f, 64);
    stage.process (juce::AudioSourceChannelInfo (&b, 16, 32));

    EXPECT_EQ (b.getSample (0, 15), 1.0f);
    EXPECT_EQ (b.getSample (0, 16), 0.25f);
    EXPECT_EQ (b.getSample (1, 47), 0.5f);
    EXPECT_EQ (b.getSample (1, 48), 1.0f);
}

TEST (MasterGainStage, OtherChannelCountsIgnorePanAndMuteClears)
{
    MasterGainStage stage;
    stage.setGain (0.5);
    stage.setPanFromSlider (-90.0);

    juce::AudioBuffer<float> mono (1, 32);
    juce::FloatVectorOperations::fill (mono.getWritePointer (0), 1.0f, 32);
    stage.process (juce::AudioSourceChannelInfo (&mono, 0, 32));
    EXPECT_EQ (mono.getSample (0, 0), 0.5f);

    stage.setMuted (true);
    auto b = noise (2, 32);
    stage.process (juce::AudioSourceChannelInfo (&b, 0, 32));
    EXPECT_EQ (b.getMagnitude (0, 32), 0.0f);
}
