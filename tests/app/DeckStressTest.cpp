#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

// Thousands of random user actions on the message thread while the real JACK callback runs:
// nothing may crash, and a deck that says it plays must be heard.
TEST (DeckStress, RandomActionsWhileTheDeviceRunsNeverLoseOrBreakPlayback)
{
    MARLODE_REQUIRE_JACK();

    TempFolder temp;
    AlertRecorder alerts;
    DeviceApp app;
    app.openOutputDevice();
    app.setSize (850, 720);
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "no JACK device opened";
    ASSERT_TRUE (pumpUntil ([&] { return app.callbacks.load() > 10; }, 3000));

    juce::Array<juce::File> files;
    for (int n = 0; n < 3; ++n)
        files.add (writeWav (temp.file ("noise" + juce::String (n) + ".wav"), n == 1 ? 48000.0 : 44100.0, n == 2 ? 1 : 2,
                             44100 * 3, noise));

    app.addDeck (nullptr);
    app.addDeck (nullptr);
    ASSERT_EQ (app.getNumDecks(), 3);

    for (int d = 0; d < app.getNumDecks(); ++d)
        ASSERT_TRUE (openWithoutAutoPlay (*app.decks[d], files, d != 1));

    // A new sequence each run, named in every failure so it can be replayed.
    const auto seed = juce::Time::currentTimeMillis();
    SCOPED_TRACE ("random seed " + std::to_string (seed));
    juce::Random random (seed);
    const auto current = [&] { return app.getCurrentDeck(); };

    // A quiet moment: every change message has landed, the hand-over has ended, so the current
    // deck's state says what the device must be hearing.
    const auto checkPlayingMeansSound = [&] (int step)
    {
        pumpMessages (60);
        ASSERT_TRUE (pumpUntil ([&] { return app.masterEngine.getPreviousDeck() == nullptr; }, 2000))
            << "step " << step << ": the deck handing over is in state "
            << (int) app.masterEngine.getPreviousDeck()->getPlayState() << ", playing "
            << app.masterEngine.getPreviousDeck()->isPlaying() << ", sounding "
            << app.masterEngine.getPreviousDeck()->transport.isSounding() << "; current " << app.decks.indexOf (current());
        const auto state = current()->trackDeck.getState();

        if (state == TransportState::Playing)
            ASSERT_TRUE (app.heardWithin (500)) << "step " << step << ": the deck shows Playing and is silent";
    };

    for (int step = 0; step < 4000; ++step)
    {
        auto& deck = *current();
        auto& player = deck.trackDeck;

        switch (random.nextInt (12))
        {
            case 0:
            case 1:
            case 2: player.playButtonClicked(); break;
            case 3: player.stopButtonClicked(); break;
            case 4:
            case 5: player.seek (random.nextDouble() * 3.2); break;
            case 6: player.loadTrack (files[random.nextInt (files.size())]); break;
            case 7: app.deckButtons[random.nextInt (app.deckButtons.size())]->triggerClick(); break;
            case 8:
                deck.engine.markers.setLoopStart (random.nextDouble() * 1.5);
                deck.engine.markers.setLoopEnd (deck.engine.markers.getLoopStart() + 0.02 + random.nextDouble());
                deck.waveform.loopButton.setToggleState (! deck.waveform.loopButton.getToggleState(), juce::sendNotificationSync);
                break;
            case 9: player.returnToStart(); break;
            case 10: random.nextBool() ? player.nextTrack() : player.previousTrack(); break;
            default: break;
        }

        pumpMessages (random.nextInt (4));

        if (step % 250 == 249)
            checkPlayingMeansSound (step);
    }

    // Whatever the storm left behind, a fresh play of the current deck is heard.
    auto& player = current()->trackDeck;
    if (player.getState() != TransportState::Stopped)
        player.stopButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return player.getState() == TransportState::Stopped; }, 2000))
        << "state " << (int) player.getState() << ", transport sounding " << player.engine.transport.isSounding();
    player.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return player.getState() == TransportState::Playing; }, 2000));
    EXPECT_TRUE (app.heardWithin (500));
    EXPECT_TRUE (alerts.shown.empty()) << alerts.shown.front().message;
}
