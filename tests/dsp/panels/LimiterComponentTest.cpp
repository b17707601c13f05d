#include "dsp/panels/LimiterComponent.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct LimiterPanel : ::testing::Test
{
    std::atomic<bool> playing { true };
    LimiterComponent panel { [this] { return playing.load(); } };
    juce::AudioBuffer<float> block { 2, 441 };

    void SetUp() override
    {
        panel.setSize (300, 250);
        panel.limiter.prepare (44100.0, 441, 2);
        panel.onButton.setToggleState (true, juce::sendNotificationSync);
    }

    /** A block of a constant `level`, then the interface tick. */
    void play (float level)
    {
        block = MarlodeTest::makeBuffer (2, 441, [=] (int, int) { return level; });
        panel.limiter.process (juce::AudioSourceChannelInfo (&block, 0, block.getNumSamples()));
        panel.timerRelayCallback();
    }

    float maskWidth() { return panel.getMaskBounds().getWidth(); }
    float barWidth() { return (float) panel.getBarBounds().getWidth(); }
};

TEST_F (LimiterPanel, TheMaskUncoversTheBarFromTheLeftInProportionToTheReduction)
{
    ASSERT_GT (barWidth(), 150.0f);
    EXPECT_FLOAT_EQ (maskWidth(), barWidth()) << "no reduction: the bar is hidden";

    play (4.0f); // 12.04 dB: half of the 24 the bar spans
    EXPECT_NEAR (maskWidth(), barWidth() * (24.0f - 12.04f) / 24.0f, 0.1f);
    EXPECT_FLOAT_EQ (panel.getMaskBounds().getRight(), (float) panel.getBarBounds().getRight());

    play (1000.0f);
    EXPECT_NEAR (maskWidth(), 0.0f, 1e-3f) << "full scale at the cap";
}

TEST_F (LimiterPanel, AStoppedDeckOrASwitchedOffLimiterShowsNoReductionAtOnce)
{
    const std::function<void()> stops[] { [&] { playing = false; },
                                          [&] { panel.onButton.setToggleState (false, juce::sendNotificationSync); } };
    for (const auto& stop : stops)
    {
        play (4.0f);
        ASSERT_LT (maskWidth(), barWidth() * 0.6f);
        stop();
        panel.timerRelayCallback();
        EXPECT_FLOAT_EQ (maskWidth(), barWidth());
        EXPECT_EQ (panel.limiter.getReductionDb(), 0.0f);
        EXPECT_FALSE (panel.limiter.takeUpdate());
        playing = true;
    }
}

TEST_F (LimiterPanel, ControlsDimWhileOffAndDriveTheStage)
{
    EXPECT_EQ (panel.inputSlider.getAlpha(), 1.0f);
    EXPECT_EQ (panel.getBarColour().getFloatAlpha(), 1.0f);

    panel.onButton.setToggleState (false, juce::sendNotificationSync);
    EXPECT_FALSE (panel.limiter.isLimiterOn());
    for (auto* s : { (juce::Slider*) &panel.inputSlider, (juce::Slider*) &panel.thresholdSlider,
                     (juce::Slider*) &panel.releaseSlider, (juce::Slider*) &panel.outputSlider })
        EXPECT_NEAR (s->getAlpha(), 0.25f, 0.01f);
    EXPECT_EQ (panel.onButton.getAlpha(), 1.0f);
    EXPECT_NEAR (panel.getBarColour().getFloatAlpha(), 0.25f, 0.01f);

    panel.onButton.setToggleState (true, juce::sendNotificationSync);
    EXPECT_EQ (panel.outputSlider.getAlpha(), 1.0f);

    panel.thresholdSlider.setValue (-6.0, juce::sendNotificationSync);
    EXPECT_NEAR (panel.limiter.limiter.getLimit(), 0.501, 0.001);
    panel.releaseSlider.setValue (250.0, juce::sendNotificationSync);
    EXPECT_EQ (panel.limiter.limiter.getReleaseMs(), 250.0);
}
} // namespace
