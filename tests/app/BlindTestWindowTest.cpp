#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
// Which tone JACK carries over the next 300 ms, 440 or 660 Hz, and its level in dB.
struct Heard
{
    double hz, levelDb;
};

Heard listen (JackRecorder& recorder)
{
    pumpMessages (150); // past the switch
    recorder.restart();
    pumpMessages (300);
    const auto take = recorder.take();
    const auto rate = recorder.getSampleRate();
    const auto low = bandPower (take[0], rate, 400.0, 480.0), high = bandPower (take[0], rate, 620.0, 700.0);
    return { low > high ? 440.0 : 660.0, 10.0 * std::log10 (std::max (low, high)) };
}

// Everything the window shows as text while it is on screen.
juce::String shownText (juce::Component& window)
{
    juce::String text;
    for (auto* child : window.getChildren())
        if (child->isVisible())
        {
            if (auto* label = dynamic_cast<juce::Label*> (child))
                text << label->getText() << "\n";
            if (auto* button = dynamic_cast<juce::Button*> (child))
                text << button->getButtonText() << "\n";
            if (auto* box = dynamic_cast<juce::ComboBox*> (child))
                text << box->getText() << "\n";
        }
    return text;
}
}

// Two decks with different tones 6 dB apart. The window opens by a real click; with a fixed coin,
// each trial's X plays the deck the coin chose, A and B play at one level and at the same time,
// nothing names a deck or a track meanwhile, and a perfect score shows its chance by guessing.
TEST (BlindTestWindow, XIsTheCoinsDeckAtTheSameLevelAndAPerfectRunScoresItsChance)
{
    MARLODE_REQUIRE_JACK();
    MARLODE_REQUIRE_DISPLAY();

    TempFolder temp;
    const auto tone = [&] (const char* name, double hz, float level)
    {
        return writeWav (temp.file (name), 44100.0, 2, 44100 * 30,
                         [=] (int, int i)
                         { return level * (float) std::sin (juce::MathConstants<double>::twoPi * hz * i / 44100.0); });
    };
    const auto low = tone ("secret-low.wav", 440.0, 0.5f), high = tone ("secret-high.wav", 660.0, 0.25f);

    RecordedApp heard ("marlode-abx-recorder");
    ASSERT_TRUE (heard.ready);
    auto& app = heard.app;
    app.addDeck (nullptr);
    ASSERT_TRUE (openWithoutAutoPlay (*app.decks[0], { low }, false) && openWithoutAutoPlay (*app.decks[1], { high }, false));

    auto& window = app.blindTest;
    window.nextSeed = [] { return (std::uint64_t) 42; };
    ASSERT_TRUE (clickOn (app.comparison.blindTestButton, [&] { return window.isShowing(); }));
    ASSERT_TRUE (pumpUntil ([&] { return window.startButton.isEnabled(); }, 20000)) << window.status.getText();
    window.trialCount.setSelectedId (10, juce::sendNotificationSync);
    window.startButton.triggerClick();
    ASSERT_TRUE (pumpUntil ([&] { return window.getRun() != nullptr; }, 2000));

    {
        // The window during a run, for a look.
        const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-blind-test.png");
        png.deleteFile();
        juce::FileOutputStream out (png);
        EXPECT_TRUE (juce::PNGImageFormat().writeImageToStream (window.createComponentSnapshot (window.getLocalBounds()), out));
    }

    // A and B: each its own deck, at one level, B going on where A was.
    const auto a = listen (heard.recorder);
    window.playB.triggerClick();
    pumpUntil ([&] { return window.getListening() == "B"; }, 1000);
    EXPECT_NEAR (app.decks[1]->engine.getPosition(), app.decks[0]->engine.getPosition(), 0.2);
    const auto b = listen (heard.recorder);
    EXPECT_EQ (a.hz, 440.0);
    EXPECT_EQ (b.hz, 660.0);
    EXPECT_NEAR (a.levelDb, b.levelDb, 0.3) << "matched, though the files are 6 dB apart";

    BlindTest coin (10, 42);
    for (int trial = 0; trial < 10; ++trial)
    {
        window.playX.triggerClick();
        ASSERT_TRUE (pumpUntil ([&] { return window.getListening() == "X"; }, 1000));
        const auto x = coin.getX();
        EXPECT_EQ (listen (heard.recorder).hz, x == BlindTest::Choice::a ? 440.0 : 660.0) << "trial " << trial;

        const auto shown = shownText (window);
        EXPECT_FALSE (shown.contains ("Deck") || shown.contains ("secret")) << shown;

        (x == BlindTest::Choice::a ? window.xIsA : window.xIsB).triggerClick();
        ASSERT_TRUE (pumpUntil ([&] { return window.getRun()->getTrialIndex() == trial + 1; }, 1000));
        coin.answer (x);
    }

    EXPECT_EQ (window.getRun()->getCorrect(), 10);
    EXPECT_TRUE (window.status.getText().contains ("Score: 10 of 10")) << window.status.getText();
    EXPECT_TRUE (window.status.getText().contains ("0.10 %")) << "1 in 1024";

    // Over: the deck on show is heard again and the other one rests.
    EXPECT_TRUE (pumpUntil ([&] { return app.decks[0]->trackDeck.getState() == TransportState::Paused; }, 2000));
    EXPECT_EQ (app.getCurrentDeck(), app.decks[1]);
}
