#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/JackRecorder.h"
#include "support/StretchTone.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

// A 1 kHz sine on a deck with "2x" on: JACK receives a 1 kHz tone, and the file is over in half
// its length.
TEST (DeckTimeStretch, TwiceTheSpeedKeepsThePitchAndEndsInHalfTheTime)
{
    MARLODE_REQUIRE_JACK();

    TempFolder temp;
    constexpr double fileRate = 44100.0, seconds = 6.0;
    const auto file = writeWav (temp.file ("sine.wav"), fileRate, 2, (int) (fileRate * seconds), sine (1000.0, fileRate));

    DeviceApp app;
    app.openOutputDevice();
    app.setSize (1100, 800);
    JackRecorder recorder ("marlode-stretch-recorder", 20.0);
    ASSERT_TRUE (recorder.connectTo ("Marlode", 5000));

    auto& deck = *app.getCurrentDeck();
    auto& time = deck.timeStretch;
    time.timeStretchButton.setToggleState (true, juce::sendNotificationSync);
    time.timeButtons[4].setToggleState (true, juce::sendNotificationSync);
    ASSERT_EQ (time.getTimeRatio(), 0.5);
    ASSERT_TRUE (openWithoutAutoPlay (deck, { file }, false));

    recorder.restart();
    deck.trackDeck.playButtonClicked();
    const auto started = juce::Time::getMillisecondCounterHiRes();
    ASSERT_TRUE (pumpUntil ([&] { return deck.trackDeck.getState() == TransportState::Stopped && ! deck.engine.isSounding(); },
                            (int) (seconds * 1000)));
    const auto playedFor = (juce::Time::getMillisecondCounterHiRes() - started) / 1000.0;
    EXPECT_NEAR (playedFor, seconds / 2.0, 0.4) << "seconds from play to the track's end";

    // The sound's own length, from its first to its last loud sample: the track ends when the
    // transport runs out, so what the stretcher still holds back then (under 0.25 s) goes unheard.
    const auto take = recorder.take()[0];
    const auto loud = [] (float s) { return std::abs (s) > 0.1f; };
    const auto first = std::find_if (take.begin(), take.end(), loud);
    const auto last = std::find_if (take.rbegin(), take.rend(), loud);
    ASSERT_NE (first, take.end()) << "nothing was heard";
    const auto rate = recorder.getSampleRate();
    EXPECT_NEAR ((double) (take.rend() - last - (first - take.begin())) / rate, seconds / 2.0 - 0.125, 0.125);

    const std::vector<float> sound (first, last.base());
    const auto tone = bandPower (sound, rate, 950.0, 1050.0);
    EXPECT_GT (tone, 1000.0 * bandPower (sound, rate, 1200.0, 8000.0)) << "the tone is 1 kHz";
    EXPECT_GT (tone, 1000.0 * bandPower (sound, rate, 100.0, 800.0));
}
