#include "ui/CommandIDs.h"
#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

#include <set>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
using K = juce::KeyPress;
constexpr int cmd = juce::ModifierKeys::commandModifier, shift = juce::ModifierKeys::shiftModifier;

struct CommandsTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    MainAudioAppComponent app { false };

    void SetUp() override { app.setSize (850, 760); }

    MainComponent& deck() { return *app.getCurrentDeck(); }

    // A key as the window delivers it when no child takes it.
    void press (int code, int modifiers = 0)
    {
        ASSERT_TRUE (app.commandManager.getKeyMappings()->keyPressed (K (code, modifiers, 0), &app))
            << "no command for key " << code;
    }

    double position() { return deck().engine.getPosition(); }
    double positionAfter (int code, int modifiers = 0) { return press (code, modifiers), position(); }

    void seekTo (double seconds) { deck().engine.transport.setPosition (seconds); }

    // A 60 s track on the current deck, Auto-Play off, blocks flowing.
    std::unique_ptr<FakeDevice> loadMinute()
    {
        deck().trackDeck.audioDeviceAvailable = true;
        EXPECT_TRUE (openWithoutAutoPlay (
            deck(), { writeWav (
                        temp.file ("minute.wav"), 44100.0, 2, 44100 * 60, [] (int, int) { return 0.1f; }, 16) }));
        EXPECT_TRUE (pumpUntil ([&] { return deck().waveform.isTrackLoaded(); }, 3000));
        return std::make_unique<FakeDevice> ([this] (const juce::AudioSourceChannelInfo& info) { app.getNextAudioBlock (info); });
    }

    void waitForState (TransportState s)
    {
        EXPECT_TRUE (pumpUntil ([&] { return deck().trackDeck.getState() == s; }, 2000));
    }
};
}

TEST_F (CommandsTest, EveryCommandHasItsOwnKeyAndOneTarget)
{
    juce::Array<juce::CommandID> master, deckCommands;
    app.getAllCommands (master);
    deck().getAllCommands (deckCommands);

    std::set<int> ids;
    for (auto id : master)
        ids.insert (id);
    for (auto id : deckCommands)
        EXPECT_TRUE (ids.insert (id).second) << "command " << id << " held by both targets";

    EXPECT_EQ (ids.size(), CommandIDs::table().size());

    // A key given twice would leave one of its commands unreachable.
    auto* mappings = app.commandManager.getKeyMappings();
    for (const auto& c : CommandIDs::table())
    {
        EXPECT_TRUE (ids.count (c.id) == 1) << c.name;
        for (const auto& k : c.keys)
            EXPECT_EQ (mappings->findCommandForKeyPress (k), c.id) << c.name << " " << k.getTextDescription();
    }
}

TEST_F (CommandsTest, MasterKeysDriveVolumePanMuteAndTheDeckBank)
{
    auto& volume = app.volumeAndPan.volumeSlider;
    const auto startVolume = volume.getValue();
    press ('-');
    EXPECT_NEAR (volume.getValue(), startVolume - 0.02, 1e-9);
    press ('=');
    EXPECT_NEAR (volume.getValue(), startVolume, 1e-9);

    press ('0');
    EXPECT_TRUE (app.volumeAndPan.gainStage.isMuted());
    EXPECT_TRUE (app.volumeAndPan.muteButton.getToggleState());
    press ('0');
    EXPECT_FALSE (app.volumeAndPan.gainStage.isMuted());

    press ('-', cmd);
    EXPECT_EQ (app.volumeAndPan.panSlider.getValue(), -45.0);
    press ('-', cmd);
    press ('-', cmd);
    EXPECT_EQ (app.volumeAndPan.panSlider.getValue(), -90.0) << "the slider's range holds";
    press ('=', cmd);
    EXPECT_EQ (app.volumeAndPan.panSlider.getValue(), -45.0);

    // Adding and switching by key are the end-to-end test's; a number past the decks does nothing.
    press ('d', cmd);
    press ('d', cmd);
    press ('4');
    pumpMessages (30);
    EXPECT_EQ (app.getCurrentDeck(), app.decks[2]);
    press ('d', cmd | shift);
    EXPECT_EQ (app.getNumDecks(), 2);
}

TEST_F (CommandsTest, FullScreenTogglesTheWindow)
{
    MARLODE_REQUIRE_DISPLAY();

    juce::DocumentWindow window ("Marlode", juce::Colours::black, 0);
    window.setContentNonOwned (&app, true);
    window.setVisible (true);
    press ('f', cmd);
    EXPECT_TRUE (window.isFullScreen());
    press ('f', cmd);
    EXPECT_FALSE (window.isFullScreen());
    window.clearContentComponent();
}

TEST_F (CommandsTest, SkipAndJumpStepsWhilePlayingAndStopped)
{
    auto device = loadMinute();
    auto& w = deck().waveform;

    // Stopped: a skip is one nudge of the view (60 s / 300), a jump 25 of them; zooming shrinks both.
    EXPECT_NEAR (positionAfter (K::rightKey), 0.2, 0.01);
    EXPECT_NEAR (positionAfter ('v'), 5.2, 0.01);
    press (K::upKey);
    EXPECT_NEAR (w.viewSpan, 30.0, 1e-6);
    EXPECT_NEAR (positionAfter (K::leftKey), 5.1, 0.01);

    // Playing: one second and fifteen (not thirty).
    press (K::spaceKey);
    waitForState (TransportState::Playing);
    seekTo (20.0);
    EXPECT_NEAR (positionAfter ('v'), 35.0, 0.3);
    EXPECT_NEAR (positionAfter ('c'), 20.0, 0.3);
    EXPECT_NEAR (positionAfter (K::leftKey), 19.0, 0.3);

    // Alt+Space plays from the start.
    EXPECT_LT (positionAfter (K::spaceKey, juce::ModifierKeys::altModifier), 0.3);
    EXPECT_EQ (deck().trackDeck.getState(), TransportState::Playing);
}

TEST_F (CommandsTest, MarkerToggleAndPanelKeys)
{
    auto device = loadMinute();
    auto& w = deck().waveform;
    seekTo (12.0);

    press ('/');
    EXPECT_NEAR (deck().engine.markers.getReplay(), 12.0, 0.01);
    EXPECT_TRUE (w.replayButton.getToggleState());
    press (';');
    EXPECT_FALSE (w.replayButton.getToggleState());

    press (',');
    EXPECT_NEAR (deck().engine.markers.getLoopStart(), 12.0, 0.01);
    seekTo (11.0);
    press ('.');
    EXPECT_FALSE (w.loopButton.getToggleState()) << "an end before the start is refused";
    seekTo (18.0);
    press ('.');
    EXPECT_NEAR (deck().engine.markers.getLoopEnd(), 18.0, 0.01);
    EXPECT_TRUE (deck().engine.markers.isLoopOn());
    press (',', cmd);
    press ('.', cmd);
    EXPECT_EQ (deck().engine.markers.getLoopStart(), 0.0);
    EXPECT_NEAR (deck().engine.markers.getLoopEnd(), 60.0, 0.01);

    const auto follow = w.followButton.getToggleState();
    press ('f');
    EXPECT_NE (w.followButton.getToggleState(), follow);

    press ('w');
    EXPECT_TRUE (deck().deckEQ.isVisible());
    EXPECT_FALSE (deck().playlist.isVisible());
    press ('e');
    EXPECT_TRUE (deck().deckFX.isVisible());
    press ('q');
    EXPECT_TRUE (deck().playlist.isVisible());
    EXPECT_TRUE (deck().clearButton.isVisible());
}

TEST_F (CommandsTest, MenuDeletesAPlayingDeckOnceItHasStopped)
{
    app.menuItemChosen (5);
    EXPECT_EQ (alerts.shown.back().message, "No track is loaded.");

    app.menuItemChosen (13);
    ASSERT_EQ (app.getNumDecks(), 2);
    auto device = loadMinute();
    press (K::spaceKey);
    waitForState (TransportState::Playing);

    app.menuItemChosen (14);
    EXPECT_EQ (app.getNumDecks(), 2) << "the deck plays: it stops first";
    EXPECT_TRUE (pumpUntil ([&] { return app.getNumDecks() == 1; }, 2000));
    EXPECT_EQ (app.getCurrentDeck(), app.decks[0]);

    // The last deck playing: it stops too, and then the alert says it can't go.
    device.reset(); // one device at a time pulls the master
    auto again = loadMinute();
    press (K::spaceKey);
    waitForState (TransportState::Playing);
    const auto alertsBefore = alerts.shown.size();
    app.menuItemChosen (15);
    EXPECT_TRUE (pumpUntil ([&] { return alerts.shown.size() > alertsBefore; }, 2000));
    EXPECT_EQ (alerts.shown.back().message, "Can't delete all decks when there's only one deck!");
    EXPECT_FALSE (app.getCurrentDeck()->engine.isPlaying()) << "stopped before the alert";
}
