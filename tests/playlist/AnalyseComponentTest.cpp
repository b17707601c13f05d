#include "playlist/PlaylistComponent.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
PlaylistRow measured (const juce::String& name, int channels, float lufs, float truePeak, double rmsLeft, double rmsRight,
                      double peakLeft, double peakRight)
{
    PlaylistRow row;
    row.fileName = name;
    row.path = "/music/" + name + ".wav";
    row.format = "WAV";
    row.numChannels = channels;
    row.sampleRate = 44100.0;
    row.bitsPerSample = 24;
    row.isAnalysed = true;
    row.lufs = lufs;
    row.truePeakMax = truePeak;
    row.rmsLeft = rmsLeft;
    row.rmsRight = rmsRight;
    row.rmsStereo = channels == 1 ? rmsLeft : (rmsLeft + rmsRight) / 2.0;
    row.peakLeft = peakLeft;
    row.peakRight = peakRight;
    row.analysisTime = "11:02:03 pm";
    return row;
}

struct AnalysePanel : ::testing::Test
{
    PopupDisplayComponent* activePopup = nullptr;
    Analyse::OptionsComponent options { activePopup };
    Analyse::Component panel { options };
    Analyse::TextBox& box = panel.textBox;

    void SetUp() override { panel.setSize (300, 500); }

    juce::String line (const juce::String& name) const
    {
        for (const auto& l : box.getLines())
            if (l.startsWith (name + ":"))
                return l.fromFirstOccurrenceOf (":", false, false);
        return "(not shown)";
    }
};
} // namespace

TEST_F (AnalysePanel, OneTrackShowsItsValuesWithSignsAlignedAndNegativeZeroAsADash)
{
    const auto row = measured ("take", 2, -14.237f, 0.5f, -17.0, -18.5, -0.001, -3.0);
    panel.showResults ({ &row });

    ASSERT_FALSE (box.isInStatusMode());
    const auto lines = box.getLines();
    ASSERT_EQ (lines.size(), 18);
    EXPECT_EQ (lines[0], "take");
    EXPECT_EQ (line ("LUFS"), "-14.24 dB");
    EXPECT_EQ (line ("TPMax"), " 0.50 dB") << "a value that isn't negative takes a blank before it";
    EXPECT_EQ (line ("RMS Stereo"), "-17.75 dB");
    EXPECT_EQ (line ("Peak Left"), "- dB") << "-0.00 would read as a level below zero";
    EXPECT_EQ (line ("Peak Right"), "-3.00 dB");
    EXPECT_EQ (line ("File name"), " take");
    EXPECT_EQ (line ("Channels"), " 2");
    EXPECT_EQ (line ("Time"), " 11:02:03 pm");
    EXPECT_FALSE (panel.analyseButton.isEnabled()) << "nothing left to measure";
}

TEST_F (AnalysePanel, TotalsMixMonoAndStereoAndFloorThePeaksAtZero)
{
    const auto mono = measured ("voice", 1, -20.0f, -6.0f, -24.0, -100.0, -7.0, -100.0);
    const auto stereo = measured ("music", 2, -10.0f, -1.5f, -16.0, -20.0, -2.0, -4.0);
    panel.showResults ({ &mono, &stereo });

    ASSERT_FALSE (box.isInStatusMode());
    EXPECT_EQ (box.getLines()[0], "Totals for selection");
    EXPECT_EQ (line ("LUFS"), "-15.00 dB");
    EXPECT_EQ (line ("RMS Left"), "-20.00 dB");
    EXPECT_EQ (line ("RMS Right"), "-60.00 dB") << "the mono track's -100 counts in the mean";
    EXPECT_EQ (line ("TPMax"), " 0.00 dB") << "the running maximum starts at 0 dB";
    EXPECT_EQ (line ("Peak Left"), " 0.00 dB");
    EXPECT_EQ (line ("Peak Right"), " 0.00 dB");
    EXPECT_EQ (line ("File name"), "") << "a total has no file";
    EXPECT_EQ (line ("Sample Rate"), "");
    EXPECT_EQ (line ("Time"), "");

    const auto hot = measured ("hot", 2, -8.0f, 1.25f, -9.0, -9.0, -0.5, -0.5);
    panel.showResults ({ &mono, &hot });
    EXPECT_EQ (line ("TPMax"), " 1.25 dB") << "a true peak over 0 dB is the total";
}

TEST_F (AnalysePanel, StatusTextsStandInForTheValuesAndDecideTheAnalyseButton)
{
    const auto done = measured ("done", 2, -14.0f, -1.0f, -17.0, -17.0, -1.0, -1.0);
    auto pending = done;
    pending.isAnalysed = false;

    panel.showResults ({ &done, &pending });
    EXPECT_TRUE (box.isInStatusMode());
    EXPECT_EQ (box.getLines(), juce::StringArray ("Not all tracks in selection analysed"));
    EXPECT_TRUE (panel.analyseButton.isEnabled());
    EXPECT_EQ (box.getHeight(), box.getRowHeight() * Analyse::TextBox::statusLines);

    panel.showResults ({});
    EXPECT_EQ (box.getLines(), juce::StringArray ("No Track selected"));
    EXPECT_FALSE (panel.analyseButton.isEnabled());

    panel.showResults ({ &done });
    EXPECT_FALSE (box.isInStatusMode());
    EXPECT_EQ (box.getHeight(), box.getRowHeight() * 18) << "the title and 17 lines";
}

TEST_F (AnalysePanel, OptionsHideLinesAndEveryItemOffLeavesOnlyTheTitle)
{
    const auto row = measured ("take", 2, -14.0f, -1.0f, -17.0, -17.0, -1.0, -1.0);
    panel.showResults ({ &row });

    juce::StringArray heard;
    struct Ear : juce::ActionListener
    {
        juce::StringArray& into;
        explicit Ear (juce::StringArray& s) : into (s) {}
        void actionListenerCallback (const juce::String& m) override { into.add (m); }
    } ear { heard };
    options.addActionListener (&ear);

    options.getToggle (9).triggerClick(); // "LUFS"
    pumpMessages (50);
    EXPECT_FALSE (options.items[9].visible);
    EXPECT_EQ (line ("LUFS"), "(not shown)");
    EXPECT_EQ (box.getLines().size(), 17);
    EXPECT_EQ (box.getHeight(), box.getRowHeight() * 17) << "the box follows its lines";
    EXPECT_EQ (heard, juce::StringArray ("Analyse Options Changed"));

    for (int i = 0; i < (int) options.items.size(); ++i)
        if (options.getToggle (i).getToggleState())
            options.getToggle (i).triggerClick();
    pumpMessages (50);

    EXPECT_EQ (box.getLines(), juce::StringArray ("take"));
    EXPECT_EQ (box.getHeight(), box.getRowHeight());
    options.removeActionListener (&ear);
}

TEST_F (AnalysePanel, ItemsStoreUnderTheirNamesInUpperCase)
{
    juce::StringArray names;
    for (const auto& item : options.items)
        names.add (item.getSettingName());

    EXPECT_EQ (names.size(), 17);
    EXPECT_EQ (names[0], "PLAYLIST_POSITION_VIEW");
    EXPECT_EQ (names[14], "PEAK_LEFT_VIEW");
    EXPECT_EQ (names[16], "TIME_VIEW");
}

TEST (AnalysePanelBeside, TheBarMovesThePanelsLeftEdgeWithinLimits)
{
    juce::AudioFormatManager formats;
    PopupDisplayComponent* activePopup = nullptr;
    PlaylistComponent playlist { formats, activePopup };
    playlist.setSize (1000, 400);
    EXPECT_EQ (playlist.table.getWidth(), 1000) << "the panel starts hidden";

    playlist.showAnalysePanel (true);
    auto& bar = playlist.analyseResizeBar;
    const auto edge = playlist.analysePanel.getX();
    ASSERT_EQ (bar.getRight(), edge);
    EXPECT_EQ (playlist.table.getRight(), bar.getX());

    auto drag = [&] (int dx)
    {
        const juce::Point<float> start (3.0f, 100.0f);
        bar.mouseDown (mouseAt (bar, start));
        bar.mouseDrag (juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), start.translated ((float) dx, 0.0f),
                                         {}, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, &bar, &bar, juce::Time(), start, juce::Time(), 1,
                                         false));
    };

    drag (-120);
    EXPECT_EQ (playlist.analysePanel.getX(), edge - 120);
    EXPECT_EQ (playlist.analysePanelWidth, playlist.analysePanel.getWidth()) << "kept for the session";
    EXPECT_EQ (playlist.table.getRight(), bar.getX());

    drag (2000);
    EXPECT_EQ (playlist.analysePanel.getWidth(), PlaylistComponent::minimumAnalysePanelWidth);
    drag (-5000);
    EXPECT_EQ (playlist.table.getWidth(), PlaylistComponent::minimumTableWidth);
}

TEST_F (AnalysePanel, OptionsOpenOverTheWindowAfterClosingAnotherPopup)
{
    juce::Component window;
    window.setSize (1000, 700);
    window.addAndMakeVisible (panel);

    PopupDisplayComponent other { 300, 200, activePopup };
    bool otherClosed = false;
    other.onClose = [&] { otherClosed = true; };
    window.addChildComponent (other);
    other.show();
    ASSERT_EQ (activePopup, &other);

    panel.optionsButton.triggerClick();
    pumpMessages (20);

    EXPECT_EQ (options.getParentComponent(), &window);
    EXPECT_TRUE (options.isVisible());
    EXPECT_EQ (options.getBounds(), window.getLocalBounds());
    EXPECT_EQ (activePopup, &options);
    EXPECT_FALSE (other.isVisible());
    EXPECT_TRUE (otherClosed);
    EXPECT_EQ (options.title, "Analyse Options");
}
