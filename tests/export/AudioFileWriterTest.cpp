#include "support/DeckHarness.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
struct ExportTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    DeckHarness harness;
    MainComponent& deck = harness.deck;
    juce::File track = writeWav (temp.file ("track.wav"), 44100.0, 2, 44100 + 300, noise, 24);

    void SetUp() override
    {
        deck.setSize (900, 700);
        ASSERT_TRUE (harness.load (track));
    }

    // The menu's "Export Audio", the popup filled in (the file as the save dialog would give
    // it), and "Export": the render runs in its progress window before this returns.
    void exportTo (const juce::File& target, int rateId = 1, int depthId = 2)
    {
        deck.exportAudioButtonClicked();
        ASSERT_NE (deck.exportPanel, nullptr);
        auto& panel = *deck.exportPanel;
        panel.chooseFile = [target] (auto chosen) { chosen (target); };
        panel.formatBox.setSelectedId (1, juce::sendNotificationSync);
        panel.rateBox.setSelectedId (rateId, juce::sendNotificationSync);
        panel.depthBox.setSelectedId (depthId, juce::sendNotificationSync);
        panel.openFileChooser();
        ASSERT_TRUE (panel.exportButton.isEnabled());
        panel.exportButton.triggerClick();
        pumpUntil ([&] { return ! deck.exportWriter.isThreadRunning() && deck.exportWriter.reader == nullptr; }, 20000);
    }

    static int lengthOf (const juce::File& file, int* bits = nullptr)
    {
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
        if (reader == nullptr)
            return -1;
        if (bits != nullptr)
            *bits = (int) reader->bitsPerSample;
        return (int) reader->lengthInSamples;
    }
};
}

TEST_F (ExportTest, ExportIsOfferedOnceEveryOptionIsChosenAndCancelTakesItBack)
{
    deck.exportAudioButtonClicked();
    auto& panel = *deck.exportPanel;
    EXPECT_TRUE (panel.isVisible());
    panel.chooseFile = [this] (auto chosen) { chosen (temp.file ("out.wav")); };

    const std::function<void()> steps[] { [&] { panel.formatBox.setSelectedId (1, juce::sendNotificationSync); },
                                          [&] { panel.rateBox.setSelectedId (2, juce::sendNotificationSync); },
                                          [&] { panel.depthBox.setSelectedId (3, juce::sendNotificationSync); },
                                          [&] { panel.openFileChooser(); } };
    for (const auto& step : steps)
    {
        EXPECT_FALSE (panel.exportButton.isEnabled());
        step();
    }
    EXPECT_TRUE (panel.exportButton.isEnabled());
    EXPECT_EQ (deck.exportWriter.sampleRate, 48000.0);
    EXPECT_EQ (deck.exportWriter.bitDepth, 32);
    EXPECT_EQ (panel.pathText.getText(), temp.file ("out.wav").getFullPathName());

    panel.cancelButton.triggerClick();
    pumpMessages (20);
    EXPECT_FALSE (deck.exportWriter.readyToExport);
    EXPECT_FALSE (panel.isVisible());

    // Opened again, the choices stand; a box's choice brings "Export" back.
    deck.exportAudioButtonClicked();
    EXPECT_EQ (deck.exportPanel->rateBox.getSelectedId(), 2);
    EXPECT_FALSE (deck.exportPanel->exportButton.isEnabled());
    deck.exportPanel->depthBox.setSelectedId (1, juce::sendNotificationSync);
    EXPECT_TRUE (deck.exportPanel->exportButton.isEnabled());
}

TEST_F (ExportTest, TheFileReplacesAnOlderOneWholeAndTheDeckPlaysAgainAfterwards)
{
    const auto target = temp.file ("out.wav");
    writeWav (target, 44100.0, 2, 44100 * 5, noise, 16); // longer than the render
    deck.deckEQ.equaliser.addBand ({});

    deck.trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck.trackDeck.getState() == TransportState::Playing; }, 2000));
    exportTo (target, 2, 2);

    EXPECT_EQ (deck.trackDeck.getState(), TransportState::Stopped) << "the deck stops for the render";
    int bits = 0;
    EXPECT_EQ (lengthOf (target, &bits), (44100 + 300 + 511) / 512 * 512) << "the old file's bytes are gone";
    EXPECT_EQ (bits, 24);
    EXPECT_EQ (deck.deckEQ.equaliser.getSampleRate(), 44100.0) << "rendered at 48 kHz, prepared for the device again";
    EXPECT_TRUE (alerts.shown.empty());
    EXPECT_EQ (target.getParentDirectory().findChildFiles (juce::File::findFiles, false, ".*").size(), 0) << "no temporary left";

    deck.trackDeck.playButtonClicked();
    EXPECT_TRUE (pumpUntil ([&] { return deck.trackDeck.getState() == TransportState::Playing; }, 2000));
}

TEST_F (ExportTest, ACancelledRenderLeavesAValidPartialFileAndTheChainReadyForTheDevice)
{
    const auto longTrack = writeWav (temp.file ("long.wav"), 44100.0, 2, 44100 * 120, noise, 16);
    ASSERT_TRUE (harness.load (longTrack));
    deck.timeStretch.stretcher.setTimeRatio (1.25);
    deck.engine.timeStretchOn = true;

    // The progress window's cancel, once the render is under way.
    juce::Timer::callAfterDelay (300, [this] { deck.exportWriter.signalThreadShouldExit(); });
    const auto target = temp.file ("part.wav");
    exportTo (target, 2);

    const auto length = lengthOf (target);
    EXPECT_GT (length, 0) << "a valid file, in place";
    EXPECT_LT (length, 44100 * 150) << "cut short";
    EXPECT_EQ (deck.deckEQ.equaliser.getSampleRate(), 44100.0);
    EXPECT_EQ (deck.timeStretch.stretcher.getTimeRatio(), 1.25) << "the live stretcher untouched";
}

TEST_F (ExportTest, ATargetThatCantBeWrittenOrIsTheTrackItselfIsRefusedAndTouchesNothing)
{
    const auto before = track.getSize();
    exportTo (track);
    EXPECT_EQ (track.getSize(), before);
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_TRUE (alerts.shown[0].message.startsWith ("The track can't be exported over its own file")) << alerts.shown[0].message;

    const auto nowhere = temp.file ("missing/folder/out.wav");
    exportTo (nowhere);
    EXPECT_FALSE (nowhere.exists());
    EXPECT_FALSE (nowhere.getParentDirectory().exists());
    ASSERT_EQ (alerts.shown.size(), 2u);
    EXPECT_TRUE (alerts.shown[1].message.startsWith ("The file can't be written here")) << alerts.shown[1].message;
}
