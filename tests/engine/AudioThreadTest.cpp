#include "engine/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/RealtimeWatch.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
    // The application's content with the device's callback watched: every allocation and mutex
    // lock made inside the application's block counts.
    struct WatchedApp : MainAudioAppComponent
    {
        WatchedApp() : MainAudioAppComponent (true) {}
        ~WatchedApp() override { shutdownAudio(); }

        void getNextAudioBlock (const juce::AudioSourceChannelInfo& info) override
        {
            {
                RealtimeWatch::Scope watch;
                MainAudioAppComponent::getNextAudioBlock (info);

                if (allocateOnPurpose.load())
                {
                    auto* p = new int (callbacks.load());
                    asm volatile ("" : : "r"(p) : "memory");
                    delete p;
                }
            }

            const auto level = levelLights.measurement.getLevelDb (0);
            if (level > loudestDb.load())
                loudestDb.store (level);
            callbacks.fetch_add (1);
        }

        std::atomic<int> callbacks { 0 };
        std::atomic<bool> allocateOnPurpose { false };
        std::atomic<float> loudestDb { -100.0f };
    };
}

TEST (AudioThread, ThePlayingCallbackAllocatesNothingAndTakesNoLock)
{
    if (std::getenv ("JACK_DEFAULT_SERVER") == nullptr)
        GTEST_SKIP() << "needs the test run's JACK server (scripts/with-test-env.sh)";

    TempFolder temp;
    AlertRecorder alerts;
    WatchedApp app;
    app.setSize (850, 720);
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "no JACK device opened";
    ASSERT_TRUE (pumpUntil ([&] { return app.callbacks.load() > 10; }, 3000)) << "the device's callback isn't running";

    // The hooks must see an allocation made in the watched scope, or a zero below means nothing.
    RealtimeWatch::reset();
    app.allocateOnPurpose = true;
    const auto start = app.callbacks.load();
    ASSERT_TRUE (pumpUntil ([&] { return app.callbacks.load() > start + 5; }, 2000));
    app.allocateOnPurpose = false;
    pumpMessages (50);
    EXPECT_GE (RealtimeWatch::allocations(), 5);

    // The costliest meter types: loudness with true peak in, true peak out.
    auto* deck = app.getCurrentDeck();
    deck->inputMeter.setMeterType (LevelMeterProcessor::lufsAndTruePeak);
    deck->outputMeter.setMeterType (LevelMeterProcessor::truePeak);
    const auto file = writeWav (temp.file ("sweep.wav"), 48000.0, 2, 48000 * 8,
                                [] (int c, int i) { return sweep (c, i, 48000.0); });
    deck->waveform.autoPlayButton.setToggleState (false, juce::dontSendNotification);
    deck->openFiles ({ file });
    ASSERT_TRUE (pumpUntil ([&] { return deck->trackDeck.hasTrack(); }, 2000));
    pumpMessages (100);

    RealtimeWatch::reset();
    const auto before = app.callbacks.load();

    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck->isPlaying.load(); }, 2000));
    pumpMessages (400);

    // Everything a user does while it plays: seek, loop wrap on the audio thread, volume, pan,
    // mute, pause and resume, a second deck taking over.
    deck->trackDeck.transportSource.setPosition (3.0);
    pumpMessages (200);
    deck->waveform.loopStart = 1.0;
    deck->waveform.loopEnd = 1.5;
    deck->waveform.loopButton.setToggleState (true, juce::sendNotificationSync);
    pumpMessages (600);
    deck->waveform.loopButton.setToggleState (false, juce::sendNotificationSync);
    app.volumeAndPan.volumeSlider.setValue (0.5, juce::sendNotificationSync);
    app.volumeAndPan.panSlider.setValue (-30.0, juce::sendNotificationSync);
    pumpMessages (200);
    app.volumeAndPan.muteButton.setToggleState (true, juce::sendNotificationSync);
    pumpMessages (100);
    app.volumeAndPan.muteButton.setToggleState (false, juce::sendNotificationSync);
    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck->trackDeck.getState() == TransportState::Paused; }, 2000));
    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck->isPlaying.load(); }, 2000));
    pumpMessages (200);
    app.addDeck (nullptr);
    ASSERT_TRUE (pumpUntil ([&] { return app.previousDeck.load() == nullptr; }, 2000));
    pumpMessages (200);

    const auto watched = app.callbacks.load() - before;
    EXPECT_GT (watched, 100) << "too few callbacks ran to mean anything";
    EXPECT_GT (app.loudestDb.load(), -12.0f) << "the deck was heard";
    EXPECT_EQ (RealtimeWatch::allocations(), 0);
    EXPECT_EQ (RealtimeWatch::locks(), 0);
}
