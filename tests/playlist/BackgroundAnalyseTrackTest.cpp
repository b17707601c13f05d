#include "engine/TrackAnalysis.h"
#include "playlist/PlaylistComponent.h"
#include "support/DeckHarness.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr double rate = 44100.0;

float tone (int channel, int i)
{
    return (channel == 0 ? 0.5f : 0.25f) * (float) std::sin (2.0 * juce::MathConstants<double>::pi * 997.0 * i / rate);
}

// A playlist with its rows selected, and the progress windows it opens counted as they come up.
struct AnalyseBatch : ::testing::Test,
                      juce::Timer
{
    TempFolder temp;
    AlertRecorder alerts;
    juce::AudioFormatManager formats;
    PopupDisplayComponent* activePopup = nullptr;
    PlaylistComponent playlist { formats, activePopup };

    // A job's window, told apart by how many rows were analysed while it was up: each finished
    // job adds one, and the window itself may take its predecessor's address.
    juce::SortedSet<int> windowsSeen;
    std::function<void (juce::AlertWindow&)> whileWindowUp;

    void SetUp() override
    {
        formats.registerBasicFormats();
        playlist.setSize (900, 400);
        playlist.showAnalysePanel (true);
        startTimer (5);
    }

    void TearDown() override { stopTimer(); }

    void timerCallback() override
    {
        auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent());
        if (window == nullptr)
            return;

        int analysed = 0;
        for (int i = 0; i < playlist.getNumRows(); ++i)
            analysed += playlist.getRow (i)->isAnalysed ? 1 : 0;

        windowsSeen.add (analysed);
        if (whileWindowUp)
            whileWindowUp (*window);
    }

    juce::File wav (const juce::String& name, int channels, int samples, std::function<float (int, int)> generator = tone)
    {
        return writeWav (temp.file (name), rate, channels, samples, generator);
    }

    void add (const juce::Array<juce::File>& files)
    {
        juce::StringArray paths;
        for (const auto& f : files)
            paths.add (f.getFullPathName());
        playlist.addFiles (paths, false, true, -1);
        ASSERT_EQ (playlist.getNumRows(), files.size());
    }

    void analyse (int first, int last)
    {
        // A click on the first row, then a range from it, as the mouse makes one.
        playlist.table.selectRow (first);
        if (last > first)
            playlist.table.selectRangeOfRows (first, last, true);
        playlist.analyseSelectedRows();
    }

    const PlaylistRow& row (int i) { return *playlist.getRow (i); }

    static TrackAnalysisResults direct (juce::AudioFormatManager& formats, const juce::File& file)
    {
        TrackAnalysis analysis;
        return analysis.analyse (formats, file);
    }
};

void expectResults (const PlaylistRow& row, const TrackAnalysisResults& expected)
{
    EXPECT_TRUE (row.isAnalysed);
    EXPECT_EQ (row.lufs, expected.lufs);
    EXPECT_EQ (row.truePeakMax, expected.truePeakMax);
    EXPECT_EQ (row.rmsLeft, expected.rmsLeft);
    EXPECT_EQ (row.rmsRight, expected.rmsRight);
    EXPECT_EQ (row.rmsStereo, expected.rmsStereo);
    EXPECT_EQ (row.peakLeft, expected.peakLeft);
    EXPECT_EQ (row.peakRight, expected.peakRight);
    EXPECT_TRUE (row.analysisTime.isNotEmpty());
}
} // namespace

TEST_F (AnalyseBatch, MeasuresEachUnanalysedRowOnceAndReportsWhatItCouldNot)
{
    MARLODE_REQUIRE_DISPLAY();

    const auto kept = wav ("kept.wav", 2, 44100);
    const auto stereo = wav ("stereo.wav", 2, 3 * 44100);
    const auto shortOne = wav ("short.wav", 1, 300);
    const auto silence = wav ("silence.wav", 2, 44100, [] (int, int) { return 0.0f; });
    const auto threeChannels = wav ("three.wav", 3, 44100);
    const auto vanishing = wav ("vanishing.wav", 2, 44100);
    add ({ kept, stereo, shortOne, silence, threeChannels, vanishing });

    analyse (0, 0);
    ASSERT_EQ (windowsSeen.size(), 1);
    expectResults (row (0), direct (formats, kept));
    const auto keptTime = row (0).analysisTime;
    EXPECT_FALSE (playlist.analysePanel.analyseButton.isEnabled());

    // Measured again, the first file would now read as silence; the last has no reader left.
    wav ("kept.wav", 2, 44100, [] (int, int) { return 0.0f; });
    ASSERT_TRUE (vanishing.deleteFile());
    windowsSeen.clear();
    analyse (0, 5);

    EXPECT_EQ (windowsSeen.size(), 5) << "one window per unanalysed row";
    EXPECT_EQ (row (0).analysisTime, keptTime) << "an analysed row is not measured again";
    EXPECT_GT (row (0).peakLeft, -7.0);

    expectResults (row (1), direct (formats, stereo));
    EXPECT_NEAR (row (1).peakLeft, -6.02, 0.05);
    EXPECT_NEAR (row (1).peakRight, -12.04, 0.05);

    expectResults (row (2), direct (formats, shortOne));
    EXPECT_NEAR (row (2).peakLeft, -6.02, 0.1) << "a file shorter than a block is measured whole";
    EXPECT_EQ (row (2).peakRight, -100.0) << "a mono file has no right channel";
    EXPECT_EQ (row (2).rmsStereo, row (2).rmsLeft);

    EXPECT_TRUE (row (3).isAnalysed);
    EXPECT_EQ (PlaylistComponent::getCellText (row (3), 15), "-100.00 dB");
    EXPECT_EQ (PlaylistComponent::getCellText (row (3), 12), "-100.00 dB");

    EXPECT_TRUE (row (4).isAnalysed);
    for (int id = 10; id <= 16; ++id)
        EXPECT_EQ (PlaylistComponent::getCellText (row (4), id), "-100.00 dB") << id;
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].title, "Warning");
    EXPECT_EQ (alerts.shown[0].message, "Too many channels in audio file, audio files must be mono or stereo.");

    EXPECT_TRUE (row (5).isAnalysed) << "a file without a reader is marked, with no values";
    EXPECT_TRUE (row (5).analysisTime.isEmpty());

    EXPECT_EQ (playlist.analysePanel.textBox.getLines()[0], "Totals for selection");
    EXPECT_FALSE (playlist.analysePanel.analyseButton.isEnabled());
}

TEST_F (AnalyseBatch, AllAnalysedSelectionOpensNoWindow)
{
    MARLODE_REQUIRE_DISPLAY();

    add ({ wav ("a.wav", 2, 4410) });
    analyse (0, 0);
    ASSERT_TRUE (row (0).isAnalysed);

    windowsSeen.clear();
    playlist.analyseSelectedRows();
    EXPECT_TRUE (windowsSeen.isEmpty());
    EXPECT_EQ (playlist.analysePanel.textBox.getLines()[0], "a");
}

TEST_F (AnalyseBatch, CancelAllKeepsFinishedRowsAndLeavesTheRestUnanalysed)
{
    MARLODE_REQUIRE_DISPLAY();

    const auto first = wav ("first.wav", 2, 44100);
    add ({ first, wav ("long.wav", 2, 44100 * 240), wav ("third.wav", 2, 44100) });

    whileWindowUp = [this] (juce::AlertWindow& window)
    {
        if (! row (0).isAnalysed)
            return;

        for (auto* child : window.getChildren())
            if (auto* button = dynamic_cast<juce::Button*> (child); button != nullptr && button->getButtonText() == "Cancel All")
                button->triggerClick();
    };
    analyse (0, 2);

    EXPECT_EQ (windowsSeen.size(), 2) << "the batch ends with the cancelled row";
    expectResults (row (0), direct (formats, first));
    EXPECT_FALSE (row (1).isAnalysed);
    EXPECT_FALSE (row (2).isAnalysed);
    EXPECT_EQ (playlist.analysePanel.textBox.getLines(), juce::StringArray ("Not all tracks in selection analysed"));
    EXPECT_TRUE (playlist.analysePanel.analyseButton.isEnabled());
}
