#include "dsp/panels/TimeStretchComponent.h"
#include "support/StretchTone.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>
using namespace Marlode;

namespace
{
struct TimeStretchPanel : ::testing::Test
{
    TimeStretchPanel() { p.setSize (400, 240); }

    void press (const juce::String& preset)
    {
        for (auto& b : p.timeButtons)
            if (b.getButtonText() == preset)
                b.setToggleState (true, juce::sendNotificationSync);
    }

    static void move (juce::Slider& s, double v) { s.setValue (v, juce::sendNotificationSync); }

    std::atomic<bool> timeStretchOn { false };
    TimeStretchComponent p { timeStretchOn };
};
} // namespace

TEST_F (TimeStretchPanel, PresetsSetTheBaseThatSpeedScales)
{
    press ("2x");
    move (p.speedSlider, 10.0);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 0.45);

    // The same factor again changes nothing; another one starts from its own base.
    press ("2x");
    EXPECT_EQ (p.speedSlider.getValue(), 10.0);
    EXPECT_DOUBLE_EQ (p.getTimeRatio(), 0.45);
    press ("3/4x");
    EXPECT_EQ (p.speedSlider.getValue(), 0.0);
    EXPECT_DOUBLE_EQ (p.getTimeRatio(), 1.0 / 0.75);
    move (p.speedSlider, -10.0);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 1.1 / 0.75);

    // Speed and pitch don't touch each other.
    move (p.semiTonesSlider, 7.0);
    EXPECT_EQ (p.speedSlider.getValue(), -10.0);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 1.1 / 0.75);
    move (p.speedSlider, 3.0);
    EXPECT_EQ (p.semiTonesSlider.getValue(), 7.0);
    EXPECT_DOUBLE_EQ (p.stretcher.getPitchScale(), std::pow (2.0, 7.0 / 12.0));
}

TEST_F (TimeStretchPanel, CentsAddToTheSemitonesScaleAndASemitoneMoveClearsThemLater)
{
    move (p.semiTonesSlider, 12.0);
    move (p.centsSlider, 50.0);
    EXPECT_NEAR (p.stretcher.getPitchScale(), 2.0293022366434921, 1e-12);
    EXPECT_DOUBLE_EQ (p.getBasePitchScale(), 2.0);

    // The cents go to 0 at once; their own rule runs later from the message loop.
    move (p.semiTonesSlider, -3.0);
    EXPECT_EQ (p.centsSlider.getValue(), 0.0);
    MarlodeTest::pumpMessages (50);
    EXPECT_DOUBLE_EQ (p.stretcher.getPitchScale(), std::pow (2.0, -3.0 / 12.0));
}

struct VariSpeed
{
    double v, timeRatio, pitchScale, libraryTimeRatio;
};

struct TimeStretchVariSpeed : TimeStretchPanel,
                              ::testing::WithParamInterface<VariSpeed>
{
};

TEST_P (TimeStretchVariSpeed, TheSliderGivesThePairStoredAsComputedAndTheLibraryAnAcceptedRatio)
{
    const auto [v, timeRatio, pitchScale, libraryTimeRatio] = GetParam();
    p.stretcher.prepare (512, 2, 44100.0);
    p.variSpeedButton.setToggleState (true, juce::sendNotificationSync);
    move (p.variSpeedSlider, v);

    EXPECT_NEAR (p.stretcher.getTimeRatio(), timeRatio, 1e-12);
    EXPECT_NEAR (p.stretcher.getPitchScale(), pitchScale, 1e-12);
    EXPECT_DOUBLE_EQ (p.getTimeRatio(), 1.0) << "the normal pair waits for its mode";
    EXPECT_NEAR (MarlodeTest::handOver (p.stretcher).getTimeRatio(), libraryTimeRatio, 1e-12);
}

INSTANTIATE_TEST_SUITE_P (Values, TimeStretchVariSpeed,
                          ::testing::Values (VariSpeed { 0.0, 1.0, 1.0, 1.0 }, VariSpeed { 50.0, 0.75, 1.5, 0.75 },
                                             VariSpeed { 20.0, 0.9, 1.2, 0.9 }, VariSpeed { -50.0, 0.9996, 0.5, 0.9996 },
                                             VariSpeed { -1.0, 0.98, 0.99, 0.98 }, VariSpeed { -0.04, 0.5, 0.9996, 0.5 },
                                             VariSpeed { -0.02, 0.0, 0.9998, 0.125 }, VariSpeed { -0.01, -1.0, 0.9999, 0.125 }));

TEST_F (TimeStretchPanel, TheModeSwitchHandsOverItsPairAndDimsTheOtherModesControls)
{
    EXPECT_FALSE (p.variSpeedSlider.isEnabled());
    EXPECT_TRUE (p.speedSlider.isEnabled());

    press ("1.5x");
    move (p.semiTonesSlider, 2.0);
    p.variSpeedButton.setToggleState (true, juce::sendNotificationSync);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 1.0);
    EXPECT_DOUBLE_EQ (p.stretcher.getPitchScale(), 1.0);
    for (auto* c :
         std::initializer_list<juce::Component*> { &p.timeButtons[0], &p.speedSlider, &p.semiTonesSlider, &p.centsSlider })
    {
        EXPECT_FALSE (c->isEnabled());
        EXPECT_LT (c->getAlpha(), 1.0f);
    }
    EXPECT_TRUE (p.variSpeedSlider.isEnabled());
    EXPECT_EQ (p.variSpeedSlider.getAlpha(), 1.0f);

    p.variSpeedButton.setToggleState (false, juce::sendNotificationSync);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 1.0 / 1.5);
    EXPECT_DOUBLE_EQ (p.stretcher.getPitchScale(), std::pow (2.0, 2.0 / 12.0));
    EXPECT_TRUE (p.speedSlider.isEnabled());
    EXPECT_FALSE (p.variSpeedSlider.isEnabled());
}

TEST_F (TimeStretchPanel, ResetReturnsEveryRatioToOneAndTheVariSpeedSliderSilently)
{
    p.stretcher.prepare (512, 2, 44100.0);
    press ("2x");
    move (p.speedSlider, 5.0);
    move (p.semiTonesSlider, 5.0);
    p.variSpeedButton.setToggleState (true, juce::sendNotificationSync);
    move (p.variSpeedSlider, 30.0);
    int variSpeedCalls = 0;
    p.variSpeedSlider.onValueChange = [&] { ++variSpeedCalls; };

    p.resetButtonClicked();
    EXPECT_EQ (p.variSpeedSlider.getValue(), 0.0);
    EXPECT_EQ (variSpeedCalls, 0);
    for (double v : { p.getTimeRatio(), p.getPitchScale(), p.getVarispeedTimeRatio(), p.getVarispeedPitchScale(),
                      p.getBaseTimeRatio(), p.getBasePitchScale(), p.stretcher.getTimeRatio(), p.stretcher.getPitchScale() })
        EXPECT_EQ (v, 1.0);

    auto& library = MarlodeTest::handOver (p.stretcher);
    EXPECT_TRUE (library.getTimeRatio() == 1.0 && library.getPitchScale() == 1.0);

    // The base is 1 again: "2x" counts once more.
    p.variSpeedButton.setToggleState (false, juce::sendNotificationSync);
    press ("1x");
    press ("2x");
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 0.5);
}

TEST_F (TimeStretchPanel, SwitchPresetIdsAndOptionsReachTheirReaders)
{
    for (bool on : { true, false })
    {
        p.timeStretchButton.setToggleState (on, juce::sendNotificationSync);
        EXPECT_EQ (timeStretchOn.load(), on);
    }

    p.setTimeButtonID (1);
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 2.0);
    p.setTimeButtonID (99);
    EXPECT_EQ (p.timeButtons[(size_t) p.getTimeButtonID() - 1].getButtonText(), "1x");
    EXPECT_DOUBLE_EQ (p.stretcher.getTimeRatio(), 1.0);

    p.options.getCombo (TimeStretcher::Option::pitch).setSelectedId (3, juce::sendNotificationSync);
    p.options.getCombo (TimeStretcher::Option::detector).setSelectedId (2, juce::sendNotificationSync);
    EXPECT_EQ (p.stretcher.getOption (TimeStretcher::Option::pitch), 3);
    EXPECT_EQ (p.stretcher.getOption (TimeStretcher::Option::detector), 2);
    p.options.defaultsButtonClicked();
    for (int o = 0; o < TimeStretcher::numOptions; ++o)
        EXPECT_EQ (p.stretcher.getOption ((TimeStretcher::Option) o), 1);

    p.optionsButton.setToggleState (true, juce::sendNotificationSync);
    EXPECT_TRUE (p.options.isVisible());
}
