#include "engine/TrackAnalysis.h"
#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

// Two tracks on a deck's playlist, the panel opened and "Analyse" pressed with the mouse (real X
// events): the panel shows for a track what the measuring core finds in its file.
TEST (DeckAnalysis, ThePanelShowsTheMeasuredValuesOfTheSelectedTrack)
{
    MARLODE_REQUIRE_JACK();
    MARLODE_REQUIRE_DISPLAY();

    TempFolder temp;
    const auto loud = writeWav (temp.file ("loud.wav"), 44100.0, 2, 44100 * 5, noise);
    const auto quiet =
        writeWav (temp.file ("quiet.wav"), 44100.0, 1, 44100 * 3, [] (int c, int i) { return 0.1f * sweep (c, i, 44100.0); });

    DeviceApp app;
    ASSERT_TRUE (app.openOnDesktop (1100, 800));

    auto& deck = *app.getCurrentDeck();
    ASSERT_TRUE (openWithoutAutoPlay (deck, { loud, quiet }, false));
    auto& playlist = deck.playlist;
    auto& panel = playlist.analysePanel;
    playlist.table.selectRow (0);
    playlist.table.selectRangeOfRows (0, 1, true);

    ASSERT_FALSE (panel.isShowing());
    ASSERT_TRUE (clickOn (deck.analysisButton, [&] { return panel.isShowing(); }));
    EXPECT_LT (playlist.table.getRight(), panel.getX()) << "the panel stands beside the table";
    EXPECT_TRUE (panel.analyseButton.isEnabled());

    ASSERT_TRUE (
        clickOn (panel.analyseButton, [&] { return playlist.getRow (0)->isAnalysed && playlist.getRow (1)->isAnalysed; }));
    EXPECT_EQ (panel.textBox.getLines()[0], "Totals for selection");
    EXPECT_FALSE (panel.analyseButton.isEnabled());

    for (const auto& [index, file] : { std::pair (0, loud), std::pair (1, quiet) })
    {
        playlist.table.selectRow (index);
        TrackAnalysis analysis;
        const auto expected = analysis.analyse (deck.getFormatManager(), file);
        ASSERT_TRUE (expected.measured());

        const std::pair<int, double> values[] = { { 10, expected.lufs },      { 11, expected.truePeakMax },
                                                  { 12, expected.rmsStereo }, { 13, expected.rmsLeft },
                                                  { 14, expected.rmsRight },  { 15, expected.peakLeft },
                                                  { 16, expected.peakRight } };
        EXPECT_EQ (panel.textBox.getLines()[0], file.getFileNameWithoutExtension());
        for (const auto& [id, value] : values)
            EXPECT_EQ (panel.textBox.getValueText (id).trim(), juce::String (value, 2) + " dB")
                << file.getFileName() << " " << id;
    }

    ASSERT_TRUE (clickOn (deck.analysisButton, [&] { return ! panel.isShowing(); }));
    EXPECT_EQ (playlist.table.getWidth(), playlist.getWidth()) << "the table takes the room back";
    app.removeFromDesktop();
}
