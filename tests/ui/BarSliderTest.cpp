#include "ui/SondrelLookAndFeel.h"
#include "dsp/panels/VolumeAndPanComponent.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
juce::Colour pixelAt (juce::Component& c, int x, int y)
{
    return c.createComponentSnapshot (c.getLocalBounds(), true, 1.0f).getPixelAt (x, y);
}

struct WithLook : ::testing::Test
{
    SondrelLookAndFeel look;
    void SetUp() override { juce::LookAndFeel::setDefaultLookAndFeel (&look); }
    void TearDown() override { juce::LookAndFeel::setDefaultLookAndFeel (nullptr); }
};
}

TEST_F (WithLook, LevelTextHasAFloorAndPanTextFollowsTheUnroundedSign)
{
    Slider::HorizontalSlider bar;
    bar.setRange (0.0, 1.0);
    EXPECT_EQ (bar.getTextFromValue (1.0e-6), "-Inf") << "-120 dB is below the floor";
    EXPECT_EQ (bar.getTextFromValue (0.5), "-6.0 dB");

    Slider::PanSliderComponent pan;
    EXPECT_EQ (pan.getTextFromValue (0.0), "C");
    EXPECT_EQ (pan.getTextFromValue (-0.4), "0L");

    pan.setValue (-45.0, juce::sendNotificationSync);
    EXPECT_DOUBLE_EQ (pan.pan, -0.5);
    EXPECT_DOUBLE_EQ (pan.leftGain, 1.0);
    EXPECT_DOUBLE_EQ (pan.rightGain, 0.5);
}

TEST_F (WithLook, VolumeIsAPlainFactorWithAQuarterAtTheMiddle)
{
    MasterGainStage stage;
    VolumeAndPanComponent v { stage };
    EXPECT_NEAR (v.volumeSlider.proportionOfLengthToValue (0.5), 0.25, 1e-9);

    v.volumeSlider.setValue (0.5, juce::sendNotificationSync);
    EXPECT_EQ (v.gainStage.getGain(), 0.5f);
    v.panSlider.setValue (90.0, juce::sendNotificationSync);
    EXPECT_EQ (v.gainStage.getLeftGain(), 0.0);
}

TEST_F (WithLook, BarsPaintTheirBackgroundAndFillFromTheRightPlace)
{
    Slider::HorizontalSlider level;
    level.setRange (0.0, 1.0);
    level.setValue (0.5);
    level.setSize (200, 20);
    EXPECT_EQ (pixelAt (level, 195, 2), sliderBackColour) << "beyond the value: the bar's background";
    EXPECT_NE (pixelAt (level, 20, 2), sliderBackColour) << "below the value: filled";

    // A centred bar at +45 of ±90 fills from the middle to three quarters, nothing left of centre.
    Slider::PanSliderComponent pan;
    pan.setValue (45.0);
    pan.setSize (200, 20);
    EXPECT_EQ (pixelAt (pan, 50, 2), sliderBackColour);
    EXPECT_NE (pixelAt (pan, 120, 2), sliderBackColour);
    EXPECT_EQ (pixelAt (pan, 180, 2), sliderBackColour);
}
