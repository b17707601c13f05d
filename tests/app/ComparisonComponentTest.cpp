#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/Ebur128Reference.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"
#include "state/EncryptedXml.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
// The integrated loudness of what JACK received over the next `ms`.
double heardLoudness (JackRecorder& recorder, int ms)
{
    recorder.restart();
    pumpMessages (ms);
    const auto take = recorder.take();
    auto audio = makeBuffer (2, (int) take[0].size(), [&] (int c, int i) { return take[(size_t) c][(size_t) i]; });
    return Ebur128Reference (audio, recorder.getSampleRate()).integratedLufs;
}

bool isPlaying (MainComponent& deck)
{
    return deck.trackDeck.getState() == TransportState::Playing;
}
}

// The same noise on two decks 6 dB apart: with Match on (a real click), both are measured in the
// background, the louder one is turned down by the difference, and a tab click hands over at
// the same time in the track with what JACK hears just as loud.
TEST (Comparison, MatchPlaysTwoDecksSixDecibelsApartAtOneLoudnessAndHandsOverInStep)
{
    MARLODE_REQUIRE_JACK();
    MARLODE_REQUIRE_DISPLAY();

    TempFolder temp;
    const auto pink = pinkNoise (44100 * 30);
    const auto write = [&] (const char* name, float gain)
    {
        return writeWav (
            temp.file (name), 44100.0, 2, (int) pink.size(), [&] (int, int i) { return gain * pink[(size_t) i]; }, 24);
    };
    const auto loud = write ("loud.wav", 1.0f), quiet = write ("quiet.wav", 0.5f);

    RecordedApp heard ("marlode-match-recorder");
    ASSERT_TRUE (heard.ready);
    auto& app = heard.app;
    auto& recorder = heard.recorder;

    app.addDeck (nullptr);
    auto &first = *app.decks[0], &second = *app.decks[1];
    ASSERT_TRUE (openWithoutAutoPlay (first, { loud }, false) && openWithoutAutoPlay (second, { quiet }, false));
    app.deckButtons[0]->triggerClick();
    ASSERT_TRUE (pumpUntil ([&] { return app.getCurrentDeck() == &first; }, 2000));

    ASSERT_TRUE (clickOn (app.comparison.matchButton, [&] { return app.comparison.isMatchOn(); }));
    ASSERT_TRUE (pumpUntil (
        [&] { return app.deckGainLabels[1]->getText() == "0.0 dB" && app.deckGainLabels[0]->getText() != "..."; }, 20000))
        << "both tracks measured in the background";
    EXPECT_EQ (app.deckGainLabels[0]->getText(), juce::String (juce::CharPointer_UTF8 ("\xe2\x88\x92")) + "6.0 dB");
    EXPECT_TRUE (first.playlist.getRow (0)->isAnalysed);
    EXPECT_TRUE (app.deckGainLabels[0]->isShowing());
    {
        // The master strip with the gains beside the tabs, for a look.
        const auto strip = app.createComponentSnapshot ({ 0, 0, app.getWidth(), MainAudioAppComponent::titleAreaHeight });
        const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-match-strip.png");
        png.deleteFile();
        juce::FileOutputStream out (png);
        EXPECT_TRUE (juce::PNGImageFormat().writeImageToStream (strip, out));
    }

    first.trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return recorder.recentPeak (4410) > 0.01f; }, 3000)) << "the first deck is not heard";
    const auto firstHeard = heardLoudness (recorder, 3000);

    // The first deck stands still from the hand-over's fade on, the second plays on from where
    // it took over: so the second is ahead of the first by at most the time since the click.
    const auto clicked = juce::Time::getMillisecondCounterHiRes();
    ASSERT_TRUE (clickOn (*app.deckButtons[1], [&] { return first.trackDeck.getState() == TransportState::Paused; }))
        << "the first paused once faded";
    const auto ahead = second.engine.getPosition() - first.engine.getPosition();
    EXPECT_TRUE (isPlaying (second)) << "the next deck took over by itself";
    EXPECT_GE (ahead, 0.0);
    EXPECT_LE (ahead, (juce::Time::getMillisecondCounterHiRes() - clicked) / 1000.0)
        << "it went on at the same time in its track";
    const auto secondHeard = heardLoudness (recorder, 3000);

    EXPECT_NEAR (secondHeard, firstHeard, 0.2) << "as loud as each other on the device";
    EXPECT_NEAR (firstHeard, Ebur128Reference (readAll (quiet), 44100.0).integratedLufs, 0.3)
        << "the louder deck came down to the quieter";

    // Match off: every deck back at unity, the labels gone.
    ASSERT_TRUE (clickOn (app.comparison.matchButton, [&] { return ! app.comparison.isMatchOn(); }));
    for (auto* deck : app.decks)
        EXPECT_EQ (deck->engine.matchGain.load(), 1.0f);
    EXPECT_FALSE (app.deckGainLabels[0]->isVisible());
}

// A track at -8 LUFS, measured in the background once "-14 LUFS" is chosen, reaches JACK 6 dB down.
TEST (Comparison, PreviewPlaysALoudTrackAtTheServicesLevel)
{
    MARLODE_REQUIRE_JACK();
    MARLODE_REQUIRE_DISPLAY();

    TempFolder temp;
    auto pink = makeBuffer (2, 44100 * 20, [noise = pinkNoise (44100 * 20)] (int, int i) { return noise[(size_t) i]; });
    pink.applyGain (juce::Decibels::decibelsToGain ((float) (-8.0 - Ebur128Reference (pink, 44100.0).integratedLufs)));
    const auto track = writeWav (
        temp.file ("loud.wav"), 44100.0, 2, pink.getNumSamples(), [&] (int c, int i) { return pink.getSample (c, i); }, 24);

    RecordedApp heard ("marlode-preview-recorder");
    ASSERT_TRUE (heard.ready);
    auto& deck = *heard.app.getCurrentDeck();
    ASSERT_TRUE (openWithoutAutoPlay (deck, { track }, false));

    heard.app.comparison.previewBox.setSelectedId (2, juce::sendNotificationSync);
    const auto sixDown = juce::String (juce::CharPointer_UTF8 ("\xe2\x88\x92")) + "6.0 dB";
    ASSERT_TRUE (pumpUntil ([&] { return heard.app.comparison.previewGainLabel.getText() == sixDown; }, 20000))
        << heard.app.comparison.previewGainLabel.getText();

    deck.trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return heard.recorder.recentPeak (4410) > 0.01f; }, 3000));
    EXPECT_NEAR (heardLoudness (heard.recorder, 3000), -14.0, 0.2);
}

// The round trip is in the session's own test; here, what no box offers.
TEST (Comparison, StoredLevelsTheBoxDoesNotOfferLeaveThePreviewOff)
{
    TempFolder temp;
    const auto file = temp.file ("PreviousState.cfg");
    const auto session = MainAudioAppComponent (false).createSessionXml();

    for (auto* level : { "-15", "nan", "1e308", "", "-inf" })
    {
        session->setAttribute ("preview_lufs", level);
        session->setAttribute ("match", "maybe");
        ASSERT_TRUE (EncryptedXml::writeEncryptedXml (*session, file, EncryptedXml::sessionKey));
        MainAudioAppComponent app (false, file);
        EXPECT_FALSE (app.comparison.isMatchOn());
        EXPECT_FALSE (app.masterEngine.preview.isOn()) << level;
        EXPECT_EQ (app.comparison.previewBox.getSelectedId(), 1);
    }
}
