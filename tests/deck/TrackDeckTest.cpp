#include "support/DeckHarness.h"
#include "support/HostileFiles.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
struct TrackDeckTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    DeckHarness h;

    juce::File longTrack() // 60 s of a quiet tone: the markers need room
    {
        return writeWav (
            temp.file ("long.wav"), 44100.0, 1, 44100 * 60, [] (int, int i) { return 0.1f * (float) std::sin (i * 0.05); }, 16);
    }

    void setPosition (double seconds) { h.deck.engine.transport.setPosition (seconds); }
    double position() { return h.deck.engine.getPosition(); }
};
}

TEST_F (TrackDeckTest, PlayPauseResumeAndStopFollowTheStateMachine)
{
    ASSERT_TRUE (h.load (writeWav (temp.file ("a.wav"), 44100.0, 2, 44100 * 5, [] (int, int) { return 0.25f; })));
    FakeDevice device ([&] (const juce::AudioSourceChannelInfo& info) { h.deck.engine.process (info); });
    auto& deck = h.player();

    EXPECT_EQ (deck.getState(), TransportState::Stopped);
    EXPECT_TRUE (h.deck.transport.isEnabled());

    deck.playButtonClicked();
    EXPECT_EQ (deck.getState(), TransportState::Starting);
    ASSERT_TRUE (pumpUntil ([&] { return deck.getState() == TransportState::Playing; }, 1000));
    EXPECT_TRUE (h.deck.engine.isPlaying());
    EXPECT_TRUE (h.deck.transport.playButton.getToggleState());
    EXPECT_TRUE (h.deck.playlist.getPlayingIndicator());

    ASSERT_TRUE (pumpUntil ([&] { return position() > 0.3; }, 3000));

    deck.playButtonClicked();
    EXPECT_EQ (deck.getState(), TransportState::Pausing);
    ASSERT_TRUE (pumpUntil ([&] { return deck.getState() == TransportState::Paused; }, 1000));
    EXPECT_FALSE (h.deck.engine.isPlaying());
    EXPECT_FALSE (h.deck.playlist.getPlayingIndicator());

    // That a pause is silent and resumes where it was, and that a stop goes back to the top, the
    // end-to-end tests hear; here the states between and what the view shows.
    deck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck.getState() == TransportState::Playing; }, 1000));
    deck.stopButtonClicked();
    EXPECT_EQ (deck.getState(), TransportState::Stopping);
    ASSERT_TRUE (pumpUntil ([&] { return deck.getState() == TransportState::Stopped; }, 1000));
    EXPECT_FALSE (h.deck.transport.playButton.getToggleState());
}

TEST_F (TrackDeckTest, StopLandingPastTheLoopShowsInTheViewAndPreviousPastTwoSecondsGoesToTheTop)
{
    ASSERT_TRUE (h.load (longTrack()));
    auto& m = h.deck.engine.markers;
    m.setReplayOn (true);
    m.setReplay (40.0);
    m.setLoopOn (true);
    m.setLoopEnd (30.0);
    m.setLoopStart (20.0);
    setPosition (20.0);
    h.player().stopButtonClicked();
    EXPECT_NEAR (position(), 40.0, 1e-3);
    EXPECT_FALSE (h.deck.waveform.loopButton.getToggleState()) << "landing past the loop's end switches the loop off";

    setPosition (2.5);
    h.player().previousTrack();
    EXPECT_EQ (position(), 0.0);
}

TEST_F (TrackDeckTest, EndOfTrackWithoutPlayNextStopsAtTheTopAndPreviousGoesBackARow)
{
    // Play-Next following the end is the audio thread test's, on the real device.
    const auto a = writeWav (temp.file ("a.wav"), 44100.0, 2, 4410, [] (int, int) { return 0.2f; });
    const auto b = writeWav (temp.file ("b.wav"), 44100.0, 2, 44100 * 3, [] (int, int) { return 0.3f; });
    h.deck.waveform.playNextButton.setToggleState (false, juce::dontSendNotification);
    h.deck.openFiles ({ a, b });
    ASSERT_TRUE (pumpUntil ([&] { return h.player().getCurrentTrackPath() == a.getFullPathName(); }, 2000));
    FakeDevice device ([&] (const juce::AudioSourceChannelInfo& info) { h.deck.engine.process (info); });

    h.player().playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return h.player().getState() == TransportState::Playing; }, 1000));
    ASSERT_TRUE (pumpUntil ([&] { return h.player().getState() == TransportState::Stopped; }, 3000));
    EXPECT_EQ (h.player().getCurrentTrackPath(), a.getFullPathName());
    EXPECT_EQ (position(), 0.0);

    // Previous under 2 s goes back a row.
    h.player().nextTrack();
    EXPECT_EQ (h.player().getCurrentTrackPath(), b.getFullPathName());
    h.player().previousTrack();
    EXPECT_EQ (h.player().getCurrentTrackPath(), a.getFullPathName());
    EXPECT_EQ (h.deck.playlist.getCurrentRow(), 0);
}

TEST_F (TrackDeckTest, EjectUnloadsTheTrack)
{
    ASSERT_TRUE (h.load (longTrack()));
    h.deck.waveform.ejectButton.triggerClick();
    ASSERT_TRUE (pumpUntil ([&] { return ! h.player().hasTrack(); }, 1000));
    EXPECT_FALSE (h.deck.transport.isEnabled());
    EXPECT_EQ (h.deck.trackName.getText(), "No track selected.");
    EXPECT_EQ (h.deck.engine.getPosition(), 0.0);
}

TEST_F (TrackDeckTest, TooManyChannelsOrNoDeviceAreReportedAndLeaveTheDeckUsable)
{
    const auto good = writeWav (temp.file ("good.wav"), 44100.0, 2, 44100, [] (int, int) { return 0.1f; });
    ASSERT_TRUE (h.load (good));

    // Three channels.
    const auto surround = writeWav (temp.file ("surround.wav"), 44100.0, 3, 4410, [] (int, int) { return 0.1f; });
    h.deck.openFiles ({ surround });
    pumpMessages (50);
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].message,
               "This audio file has too many channels, application can only handle mono and stereo files.");
    EXPECT_EQ (h.player().getCurrentTrackPath(), good.getFullPathName()) << "the old track stays";

    // No device.
    alerts.shown.clear();
    h.player().audioDeviceAvailable = false;
    h.player().playButtonClicked();
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].title, "Warning!");
    EXPECT_EQ (alerts.shown[0].message, "Can't start playback. No audio output device selected.");
    EXPECT_EQ (h.player().getState(), TransportState::Stopped);
}

TEST_F (TrackDeckTest, InvalidExtensionsGetTheExactQuestionAndList)
{
    const auto folder = temp.file ("dropped");
    folder.createDirectory();
    folder.getChildFile ("notes.txt").replaceWithText ("x");
    folder.getChildFile (".hidden.txt").replaceWithText ("x");
    writeWav (folder.getChildFile ("ok.wav"), 44100.0, 1, 441, [] (int, int) { return 0.0f; });

    alerts.answer = true;
    h.deck.openFiles ({ folder });
    pumpMessages (50);
    ASSERT_EQ (alerts.shown.size(), 2u);
    EXPECT_EQ (alerts.shown[0].title, "Invalid Files");
    EXPECT_EQ (alerts.shown[0].message, "1 file you selected could not be loaded.\nThe file extension is not a valid format.\n\n"
                                        "Show a list of these files?\n\n");
    EXPECT_EQ (alerts.shown[1].message, "The following file's extension is not a valid format.\n\nParent Directory:\n\n"
                                            + folder.getChildFile ("notes.txt").getFullPathName() + "\r\n");
    EXPECT_EQ (h.deck.playlist.getNumRows(), 1) << "the valid file still arrives";
}

TEST_F (TrackDeckTest, HostileFilesLeaveTheLoadedTrackAsItWasWithTheUnreadableMessage)
{
    const auto good = writeWav (
        temp.file ("good.wav"), 44100.0, 2, 44100, [] (int, int) { return 0.1f; }, 16);
    ASSERT_TRUE (h.load (good));
    FakeDevice device ([&] (const juce::AudioSourceChannelInfo& info) { h.deck.engine.process (info); });

    for (const auto& hostile : writeHostileAudio (temp.folder))
    {
        alerts.shown.clear();
        h.player().loadTrack (hostile.file);
        const auto loaded = h.player().getCurrentTrackPath() == hostile.file.getFullPathName();

        // Every file either loads or leaves the deck as it was with one message saying why.
        if (hostile.mustRefuse || ! loaded)
        {
            EXPECT_FALSE (loaded) << hostile.file.getFileName();
            EXPECT_EQ (h.player().getCurrentTrackPath(), good.getFullPathName()) << hostile.file.getFileName();
            ASSERT_EQ (alerts.shown.size(), 1u) << hostile.file.getFileName();
            const auto& shown = alerts.shown[0];
            if (shown.title != "Warning!")
                EXPECT_EQ (shown.message, "1 file you selected could not be read.\n\n" + hostile.file.getFullPathName());
            EXPECT_TRUE (shown.title == "Error reading files" || hostile.file.getFileName().startsWith ("8 channels"));
        }
        else
        {
            // A file cut short plays up to its cut and to the end it claims.
            h.player().playButtonClicked();
            pumpMessages (150);
            h.player().stopButtonClicked();
            pumpMessages (50);
            ASSERT_TRUE (h.load (good));
        }
    }

    EXPECT_TRUE (h.player().hasTrack());
}

TEST_F (TrackDeckTest, AnMp3ShowsItsFactsAndPlaysToItsEnd)
{
    const auto mp3 = writeMp3 (temp.file ("tone.mp3"), 44100.0, 2, 44100 + 4410,
                               [] (int, int i) { return 0.4f * (float) std::sin (i * 0.0627); });
    ASSERT_TRUE (mp3.existsAsFile());
    h.deck.waveform.playNextButton.setToggleState (false, juce::dontSendNotification);
    ASSERT_TRUE (h.load (mp3));

    const auto rows = h.deck.playlist.getSelectedRows();
    ASSERT_EQ (rows.size(), 1u);
    EXPECT_EQ (PlaylistComponent::getCellText (*rows[0], 4), "MP3");
    EXPECT_EQ (PlaylistComponent::getCellText (*rows[0], 9), "");
    EXPECT_EQ (PlaylistComponent::getCellText (*rows[0], 8), "44100");
    EXPECT_EQ (PlaylistComponent::getCellText (*rows[0], 7), "2");
    EXPECT_EQ (PlaylistComponent::getCellText (*rows[0], 6), "00:00:01");

    FakeDevice device ([&] (const juce::AudioSourceChannelInfo& info) { h.deck.engine.process (info); });
    h.player().playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return position() > 0.5; }, 3000));
    const auto peak = device.takePeak();
    EXPECT_GT (peak, 0.3f) << "the tone is heard";
    EXPECT_LT (peak, 0.5f);
    ASSERT_TRUE (pumpUntil ([&] { return h.player().getState() == TransportState::Stopped; }, 3000));
}
