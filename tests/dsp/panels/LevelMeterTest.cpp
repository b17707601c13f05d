#include "dsp/panels/LevelMeterSettingsComponent.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct Meter : ::testing::Test
{
    std::atomic<bool> playing { true };
    LevelMeterProcessor processor;
    LevelMeter meter { "in", processor, [this] { return playing.load(); } };
    juce::AudioBuffer<float> block { 2, 441 };

    void SetUp() override
    {
        meter.setSize (75, 300);
        processor.prepare (441, 44100.0);
    }

    void feed (float left, float right, int times = 1)
    {
        block = MarlodeTest::makeBuffer (2, 441, [=] (int c, int) { return c == 0 ? left : right; });
        for (int t = 0; t < times; ++t)
            processor.process (juce::AudioSourceChannelInfo (&block, 0, 441));
    }

    float shownLevel (int ch) { return meter.processor.display (ch).level.load(); }
};
}

TEST_F (Meter, PeakRmsAndTheStraightFall)
{
    // Only positive excursions count for peak; RMS sees the true value.
    feed (-1.0f, -1.0f);
    EXPECT_EQ (meter.processor.display (0).peak.load(), LevelMeterProcessor::floorDb);
    meter.setMeterType (LevelMeterProcessor::rms);
    feed (-0.5f, -0.5f);
    EXPECT_NEAR (shownLevel (0), -6.02f, 0.01f);

    // Rise at once, then a straight line down taking the whole decay time (0.5 s = 50 blocks).
    meter.setMeterType (LevelMeterProcessor::peak);
    feed (1.0f, 0.1f);
    EXPECT_NEAR (shownLevel (0), 0.0f, 1e-4f);
    EXPECT_NEAR (shownLevel (1), -6.02f, 0.01f) << "lower than the bar: it starts to fall instead";
    feed (0.0f, 0.0f);
    EXPECT_NEAR (shownLevel (0), 0.0f, 1e-4f) << "the fall starts with the next block";
    feed (0.0f, 0.0f, 25);
    EXPECT_NEAR (shownLevel (0), -35.0f, 0.01f) << "half way down after half the decay";
    feed (0.0f, 0.0f, 25);
    EXPECT_EQ (shownLevel (0), LevelMeterProcessor::floorDb);

    // A mono block shows on both bars.
    auto mono = MarlodeTest::makeBuffer (1, 441, [] (int, int) { return 0.5f; });
    processor.process (juce::AudioSourceChannelInfo (&mono, 0, 441));
    EXPECT_EQ (shownLevel (1), shownLevel (0));
    EXPECT_NEAR (shownLevel (1), -6.02f, 0.01f);
}

TEST_F (Meter, TextMarksClipAndReset)
{
    feed (0.3f, 0.3f);
    meter.timerRelayCallback();
    EXPECT_EQ (meter.getPeakText (0), "-10.5");
    EXPECT_TRUE (meter.isPeakMarkVisible (0));
    EXPECT_EQ (meter.getPeakMarkColour (0), juce::Colour (0xffffff00)) << "-12 up to -6 is yellow";
    EXPECT_FALSE (meter.isClipBarVisible (0));

    feed (1.0f, 0.1f);
    meter.clipHold = true;
    meter.timerRelayCallback();
    EXPECT_TRUE (meter.isClipBarVisible (0));
    EXPECT_FALSE (meter.isPeakMarkVisible (0));
    feed (0.1f, 0.1f, 400);
    meter.timerRelayCallback();
    EXPECT_TRUE (meter.isClipBarVisible (0)) << "held";

    // A click in the text box resets: text "-∞", clip gone.
    meter.mouseDown (MarlodeTest::mouseAt (meter, meter.getTextBoxBounds (0).getCentre().toFloat()));
    EXPECT_EQ (meter.getPeakText (0), juce::String ("-") + juce::String (juce::CharPointer_UTF8 ("\xe2\x88\x9e")));
    EXPECT_FALSE (meter.clipped);

    // Equal decays: no mark at all.
    meter.processor.setDecayTimes (1.0, 1.0);
    feed (0.25f, 0.25f);
    meter.timerRelayCallback();
    EXPECT_FALSE (meter.isPeakMarkVisible (0));
}

TEST_F (Meter, LufsTypesTitlesScalesAndIdleFall)
{
    meter.processor.lufsMeterType = LevelMeterProcessor::integrated;
    meter.setMeterType (LevelMeterProcessor::lufs);
    EXPECT_EQ (meter.getTickValues(), (std::vector<int> { -8, -14, -20, -26, -32, -38, -44, -50, -56, -62 }));
    meter.lufsReference = -23;
    EXPECT_EQ (meter.getTickValues().front(), -5) << "the lowest step of 6 from the reference at or above -8";
    meter.lufsReference = -14;

    // Loud enough for LUFS of 0 or more lights the clip bar; the value jumps, no ramp.
    block = MarlodeTest::makeBuffer (2, 441, [] (int, int n) { return (float) std::sin (n * 0.1424); });
    for (int i = 0; i < 200; ++i)
        processor.process (juce::AudioSourceChannelInfo (&block, 0, 441));
    meter.timerRelayCallback();
    EXPECT_GT (shownLevel (0), -1.0f);

    // A deck at rest with no blocks arriving: integrated stays, momentary falls to the floor.
    playing = false;
    const auto before = shownLevel (0);
    for (int i = 0; i < 40; ++i)
        meter.timerRelayCallback();
    EXPECT_EQ (shownLevel (0), before);

    meter.processor.lufsMeterType = LevelMeterProcessor::momentary;
    meter.setMeterType (LevelMeterProcessor::peak);
    feed (1.0f, 1.0f);
    for (int i = 0; i < 21; ++i)
        meter.timerRelayCallback();
    EXPECT_EQ (shownLevel (0), LevelMeterProcessor::floorDb) << "half a second of ticks brings it down";
}

TEST_F (Meter, SettingsPanelAndAppliedSettings)
{
    PopupDisplayComponent* slot = nullptr;
    LevelMeterSettingsComponent panel ("PEAK", meter, slot);
    meter.maxPeakHold = true;
    panel.typeBox.setSelectedId (LevelMeterProcessor::lufs, juce::sendNotificationSync);
    EXPECT_FALSE (panel.levelDecayBox.isVisible());
    EXPECT_FALSE (panel.peakDecayBox.isVisible());
    EXPECT_TRUE (panel.lufsTypeBox.isVisible());
    EXPECT_FALSE (meter.maxPeakHold) << "plain LUFS has no hold";

    panel.typeBox.setSelectedId (LevelMeterProcessor::lufsAndTruePeak, juce::sendNotificationSync);
    EXPECT_TRUE (panel.peakDecayBox.isVisible());
    EXPECT_FALSE (panel.levelDecayBox.isVisible());

    // Each meter takes its own side of one state, and gives back what it took; a type that
    // isn't one shows peaks.
    DeckState state;
    state.inMeterTypeSelection = LevelMeterProcessor::rms;
    state.outMeterTypeSelection = LevelMeterProcessor::truePeak;
    state.inMaxPeakHold = state.outClipHold = true;
    state.inSmoothedLevelDecayTime = state.outSmoothedPeakDecayTime = 5.0;
    state.inLufsMeterTypeSelection = 3;
    state.outLufsMeterTypeSelection = 99;
    meter.setState (state);
    EXPECT_EQ (meter.processor.meterType.load(), LevelMeterProcessor::rms);
    LevelMeterProcessor outProcessor;
    LevelMeter out ("out", outProcessor, nullptr);
    out.setState (state);
    EXPECT_EQ (out.processor.meterType.load(), LevelMeterProcessor::truePeak);
    EXPECT_EQ (out.processor.lufsMeterType.load(), LevelMeterProcessor::momentary);
    EXPECT_TRUE (out.clipHold);

    DeckState back;
    meter.getState (back);
    out.getState (back);
    back.outLufsMeterTypeSelection = 99;
    EXPECT_EQ (back.createXml (0)->toString(), state.createXml (0)->toString());
}
