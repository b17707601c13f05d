#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
struct MasterPathTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    MainAudioAppComponent app { false };
    juce::AudioBuffer<float> buffer { 2, 512 };

    void SetUp() override
    {
        app.setSize (850, 720);
        app.prepareToPlay (512, 44100.0);
    }

    // One device block, its buffer filled with `marker` first so an uncalled stage shows.
    float block (float marker = 0.9f)
    {
        buffer = makeBuffer (2, 512, [=] (int, int) { return marker; });
        app.getNextAudioBlock (juce::AudioSourceChannelInfo (&buffer, 0, 512));
        return buffer.getSample (0, 100);
    }

    void playConstant (MainComponent& deck, float value)
    {
        deck.trackDeck.audioDeviceAvailable = true;
        ASSERT_TRUE (openWithoutAutoPlay (deck, { writeWav (temp.file (juce::String (value) + ".wav"), 44100.0, 2, 441000,
                                                            [value] (int, int) { return value; }) }));
        ASSERT_TRUE (pumpUntil ([&] { return deck.engine.transport.getNumBufferedSamples() > 4096; }, 2000));
        deck.trackDeck.playButtonClicked();
        ASSERT_TRUE (pumpUntil ([&] { return deck.engine.isPlaying(); }, 1000));
    }
};
}

TEST_F (MasterPathTest, ANewDeckWhileOnePlaysPausesItAndLetsItHandOver)
{
    auto* first = app.getCurrentDeck();
    ASSERT_NE (first, nullptr);
    playConstant (*first, 0.25f);
    EXPECT_FLOAT_EQ (block(), 0.25f);

    app.addDeck (nullptr);
    EXPECT_EQ (app.masterEngine.getPreviousDeck(), &first->engine);
    EXPECT_EQ (first->trackDeck.getState(), TransportState::Pausing) << "the tab change pauses the deck left";
    EXPECT_TRUE (app.deckButtons[0]->isVisible()) << "the tab row shows with two decks";
}

TEST_F (MasterPathTest, DeviceLossPausesAPlayingDeck)
{
    auto* deck = app.getCurrentDeck();
    playConstant (*deck, 0.5f);
    FakeDevice device ([this] (const juce::AudioSourceChannelInfo& info) { app.getNextAudioBlock (info); });

    // The device manager has no device here: its change message means the device has gone.
    app.changeListenerCallback (&app.deviceManager);
    EXPECT_FALSE (deck->trackDeck.audioDeviceAvailable);
    ASSERT_TRUE (pumpUntil ([&] { return deck->trackDeck.getState() == TransportState::Paused; }, 2000));
    EXPECT_GT (deck->engine.getPosition(), 0.0) << "the position is kept";
    EXPECT_EQ (MainAudioAppComponent::currentOutputDeviceName(), "None");
}

TEST_F (MasterPathTest, QuitWhilePlayingStopsTheDeckFirst)
{
    auto* deck = app.getCurrentDeck();
    playConstant (*deck, 0.5f);
    bool quitCalled = false;
    deck->trackDeck.onQuitWhenStopped = [&] { quitCalled = true; };

    FakeDevice device ([this] (const juce::AudioSourceChannelInfo& info) { app.getNextAudioBlock (info); });
    app.requestQuit();
    EXPECT_FALSE (quitCalled) << "the loop ends from the stop, not before it";
    ASSERT_TRUE (pumpUntil ([&] { return quitCalled; }, 2000));
    EXPECT_EQ (deck->trackDeck.getState(), TransportState::Stopped);
}
