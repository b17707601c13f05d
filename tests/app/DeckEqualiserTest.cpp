#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/JackRecorder.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
juce::StringArray moveTo (juce::Point<int> screen)
{
    return { "mousemove", "--sync", juce::String (screen.x), juce::String (screen.y) };
}

// Lows (50-500 Hz) against highs (6-16 kHz) of what JACK received, in dB.
double lowsAgainstHighs (JackRecorder& recorder, int ms)
{
    recorder.restart();
    pumpMessages (ms);
    const auto take = recorder.take();
    const auto rate = recorder.getSampleRate();
    return 10.0 * std::log10 (bandPower (take[0], rate, 50.0, 500.0) / bandPower (take[0], rate, 6000.0, 16000.0));
}
} // namespace

// Pink noise on a deck; a high-pass band at 4 kHz made in the editor with the mouse (real X
// events) takes the lows down against the highs in what reaches JACK.
TEST (DeckEqualiser, AHighPassSetByMouseCutsTheLowsOnTheDevice)
{
    MARLODE_REQUIRE_JACK();
    MARLODE_REQUIRE_DISPLAY();

    TempFolder temp;
    const auto pink = pinkNoise (44100 * 30);
    const auto file =
        writeWav (temp.file ("pink.wav"), 44100.0, 2, (int) pink.size(), [&] (int, int i) { return pink[(size_t) i]; });

    RecordedApp heard ("marlode-eq-recorder");
    ASSERT_TRUE (heard.ready);
    auto& app = heard.app;
    auto& recorder = heard.recorder;

    auto& deck = *app.getCurrentDeck();
    ASSERT_TRUE (openWithoutAutoPlay (deck, { file }, false));
    deck.trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return recorder.recentPeak (4410) > 0.05f; }, 3000)) << "the deck is not heard";
    const auto before = lowsAgainstHighs (recorder, 1500);

    auto& eq = deck.deckEQ;
    ASSERT_TRUE (clickOn (deck.deckEQButton, [&] { return eq.isShowing(); }));
    ASSERT_TRUE (clickOn (eq.addButton, [&] { return eq.getNumBands() == 1; }));

    // The type combo's menu: its third item is "HPF".
    auto& band = eq.getBand (0);
    juce::Component* menu = nullptr;
    ASSERT_TRUE (
        clickOn (band.filterTypeCombo, [&] { return (menu = juce::Component::getCurrentlyModalComponent()) != nullptr; }));
    // A menu takes a click only once the pointer has rested on an item for a moment.
    ASSERT_TRUE (xdotool (moveTo (menu->getChildComponent (2)->getScreenBounds().getCentre())));
    pumpMessages (400);
    ASSERT_TRUE (xdotool ({ "click", "1" }));
    ASSERT_TRUE (pumpUntil ([&] { return band.filterTypeCombo.getSelectedId() == EQBandValues::highPass; }, 2000));
    EXPECT_EQ (band.frequencySlider.getValue(), 20.0);

    // Drag the band's point from 20 Hz to 4 kHz.
    const auto from = eq.getBandButton (0).getScreenBounds().getCentre();
    const auto plot = eq.getPlotBounds();
    const auto target = eq.localPointToGlobal (
        juce::Point<int> (juce::roundToInt (EQBandButton::xForFrequency (plot, 4000.0)), plot.getCentreY()));
    auto drag = moveTo (from);
    drag.addArray ({ "mousedown", "1" });
    for (int step = 1; step <= 10; ++step)
        drag.addArray (moveTo (from + (target - from) * step / 10));
    drag.addArray ({ "mouseup", "1" });
    ASSERT_TRUE (xdotool (drag));
    ASSERT_TRUE (pumpUntil ([&] { return std::abs (band.frequencySlider.getValue() - 4000.0) < 4000.0 * 0.03; }, 2000))
        << band.frequencySlider.getValue();
    EXPECT_EQ (eq.equaliser.getBand (0).filterType, EQBandValues::highPass);

    pumpMessages (100);
    const auto after = lowsAgainstHighs (recorder, 1500);
    EXPECT_LT (after, before - 20.0) << "lows against highs: " << before << " dB with the band off, " << after << " dB with it";
    app.removeFromDesktop();
}
