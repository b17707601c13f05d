#include "dsp/panels/MonoComponent.h"

#include <gtest/gtest.h>

using Marlode::MonoComponent;

// The panel keeps the modes apart and dims what the chosen mode doesn't use; the stage follows.
TEST (MonoComponent, ModesExcludeEachOtherAndDimWhatTheyDontUse)
{
    MonoComponent panel;
    const auto click = [] (juce::Button& b) { b.setToggleState (! b.getToggleState(), juce::sendNotificationSync); };
    EXPECT_NEAR (panel.xOverButton.getAlpha(), MonoComponent::dimmed, 0.01f) << "everything dims while mono is off";

    click (panel.monoButton);
    click (panel.xOverButton);
    EXPECT_TRUE (panel.effects.monoOn.load() && panel.effects.xOver.load());
    EXPECT_EQ (panel.xOverFreqSlider.getAlpha(), 1.0f);
    EXPECT_NEAR (panel.midGainSlider.getAlpha(), MonoComponent::dimmed, 0.01f);

    click (panel.midSideButton);
    EXPECT_FALSE (panel.xOverButton.getToggleState());
    EXPECT_FALSE (panel.effects.xOver.load());
    EXPECT_TRUE (panel.effects.midSide.load());
    EXPECT_NEAR (panel.xOverFreqSlider.getAlpha(), MonoComponent::dimmed, 0.01f);
    EXPECT_EQ (panel.sideSoloButton.getAlpha(), 1.0f);

    click (panel.midSoloButton);
    click (panel.sideSoloButton);
    EXPECT_FALSE (panel.midSoloButton.getToggleState());
    EXPECT_FALSE (panel.effects.midSolo.load());
    EXPECT_TRUE (panel.effects.sideSolo.load());

    click (panel.soloLowButton);
    click (panel.soloHighButton);
    EXPECT_FALSE (panel.effects.soloLow.load());
    EXPECT_TRUE (panel.effects.soloHigh.load());

    panel.sideGainSlider.setValue (0.25, juce::sendNotificationSync);
    panel.xOverFreqSlider.setValue (250.0, juce::sendNotificationSync);
    EXPECT_EQ (panel.effects.sideGain.load(), 0.25f);
    EXPECT_EQ (panel.effects.xOverFreq.load(), 250.0f);
}
