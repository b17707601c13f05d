#include "engine/AudioFileGuard.h"
#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/HostileFiles.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
struct PlaylistTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    juce::AudioFormatManager formats;
    PopupDisplayComponent* activePopup = nullptr;
    PlaylistComponent playlist { formats, activePopup };
    juce::StringArray messages;

    struct Recorder : PlaylistComponent::Listener
    {
        juce::StringArray& into;
        explicit Recorder (juce::StringArray& s) : into (s) {}
        void newTrackSelected (const juce::String& path) override { into.add ("selected " + path); }
        void currentTrackDeleted() override { into.add ("Current Track Deleted"); }
    } recorder { messages };

    void SetUp() override
    {
        formats.registerBasicFormats();
        playlist.setSize (800, 400);
        playlist.addListener (&recorder);
    }

    juce::StringArray files (std::initializer_list<const char*> names)
    {
        juce::StringArray paths;
        for (auto* n : names)
            paths.add (writeWav (
                           temp.file (juce::String (n) + ".wav"), 44100.0, 2, 4410, [] (int, int) { return 0.1f; }, 16)
                           .getFullPathName());
        return paths;
    }

    juce::String order()
    {
        juce::StringArray names;
        for (int i = 0; i < playlist.getNumRows(); ++i)
            names.add (playlist.getRow (i)->fileName);
        return names.joinIntoString (" ");
    }
};
}

TEST_F (PlaylistTest, FactsPlacementAndDeletion)
{
    playlist.addFiles (files ({ "a", "b", "c" }), false, false, -1);
    EXPECT_EQ (order(), "a b c");
    const std::pair<int, const char*> cells[] { { 4, "WAV" },   { 9, "16" }, { 6, "00:00:00" },
                                                { 8, "44100" }, { 7, "2" },  { 99, "" } };
    for (auto [column, text] : cells)
        EXPECT_EQ (PlaylistComponent::getCellText (*playlist.getRow (0), column), text) << column;

    // After the selection, before an index, or appended.
    playlist.table.selectRow (0);
    playlist.addFiles (files ({ "d" }), false, false, -1);
    EXPECT_EQ (order(), "a d b c");
    playlist.addFiles (files ({ "e" }), false, false, 0);
    EXPECT_EQ (order(), "e a d b c");
    playlist.addFiles (files ({ "f" }), false, true, 0);
    EXPECT_EQ (order(), "e a d b c f");

    // Removing the loaded row sends "Current Track Deleted" once.
    playlist.selectRow (2);
    pumpMessages (20);
    messages.clear();
    playlist.table.deselectAllRows();
    playlist.table.selectRangeOfRows (1, 3);
    playlist.deleteSelectedRows();
    pumpMessages (20);
    EXPECT_EQ (order(), "e c f");
    EXPECT_EQ (messages.joinIntoString ("|"), "Current Track Deleted");
    EXPECT_EQ (playlist.getCurrentRow(), -1);
}

TEST_F (PlaylistTest, DragReorderRules)
{
    playlist.addFiles (files ({ "a", "b", "c", "d", "e", "f", "g", "h" }), false, true, -1);
    playlist.selectRow (3); // d is loaded and travels with its row

    juce::SparseSet<int> dragged;
    dragged.addRange ({ 2, 4 });    // c d
    playlist.moveRows (dragged, 6); // down: land after the row under the line
    EXPECT_EQ (order(), "a b e f g c d h");
    EXPECT_EQ (playlist.getCurrentRow(), 6);

    dragged.clear();
    dragged.addRange ({ 5, 7 }); // c d back up
    playlist.moveRows (dragged, 1);
    EXPECT_EQ (order(), "a c d b e f g h");

    EXPECT_EQ (playlist.dropIndexAt (-5, 100), -1) << "outside the table: no drop";
    EXPECT_EQ (playlist.dropIndexAt (10, 5000), 8) << "past the last row: the end";
}

TEST_F (PlaylistTest, BrokenAndHostileFilesAreReportedNotAddedAndNoneSizesARow)
{
    temp.file ("text.wav").replaceWithText ("no audio here");
    temp.file ("folder.wav").createDirectory();
    juce::StringArray paths { temp.file ("text.wav").getFullPathName(), temp.file ("folder.wav").getFullPathName(), "/dev/zero" };
    int mustRefuse = paths.size();
    juce::StringArray mayStay;

    for (const auto& hostile : writeHostileAudio (temp.folder))
    {
        paths.add (hostile.file.getFullPathName());
        mustRefuse += hostile.mustRefuse ? 1 : 0;
        if (! hostile.mustRefuse)
            mayStay.add (hostile.file.getFullPathName());
    }

    // A relative path and an empty one are no files at all: neither counted nor listed.
    juce::StringArray given { paths[0], paths[1], paths[2], "relative.wav", "" };
    given.addArray (paths, 3);
    alerts.answer = true;
    playlist.addFiles (given, false, true, -1);

    // Only files a reader may take stay, and then with facts their bytes can back.
    for (int i = 0; i < playlist.getNumRows(); ++i)
    {
        const auto* row = playlist.getRow (i);
        EXPECT_LE ((double) row->lengthInSamples * row->numChannels,
                   (double) row->file.getSize() * (double) AudioFileGuard::maxSamplesPerByte)
            << row->fileName;
        EXPECT_TRUE (mayStay.contains (row->file.getFullPathName())) << row->fileName;
    }

    ASSERT_EQ (alerts.shown.size(), 2u);
    const auto refused = paths.size() - playlist.getNumRows();
    EXPECT_GE (refused, mustRefuse);
    EXPECT_EQ (alerts.shown[0].title, "Error reading files");
    EXPECT_EQ (alerts.shown[0].message,
               juce::String (refused) + " files you selected could not be read.\n\nShow a list of these files?");
    EXPECT_EQ (alerts.shown[1].kind, "window") << "the list opens in a window of its own";
    EXPECT_EQ (alerts.shown[1].centredOn, &playlist) << "centred on the playlist's own top-level window";
    EXPECT_EQ (alerts.shown[1].title, "Invalid Files");
    EXPECT_TRUE (alerts.shown[1].message.startsWith (
        "A valid audio format reader could not be created for the following files. \n"
        "To reach this point the file type must be a valid format but is not readable, the file is possibly corrupted. \n\n"
        + paths.joinIntoString ("\r\n", 0, 3) + "\r\n"))
        << alerts.shown[1].message;
    EXPECT_FALSE (alerts.shown[1].message.contains ("relative.wav"));
}

TEST_F (PlaylistTest, PlaylistFilesRoundTripAndReadingRules)
{
    EXPECT_EQ (playlist.getPlaylistXml(), nullptr) << "an empty list stores no element";
    const auto paths = files ({ "a", "b", "c" });
    playlist.addFiles (paths, false, true, -1);
    ASSERT_NE (playlist.getPlaylistXml(), nullptr);
    EXPECT_EQ (playlist.getPlaylistXml()->getNumChildElements(), 3);
    EXPECT_EQ (playlist.getPlaylistXml()->getChildElement (2)->getStringAttribute ("Path"), paths[2]);
    EXPECT_EQ (playlist.getPlaylistXml()->getChildElement (2)->getIntAttribute ("ID"), 2);

    const auto saved = temp.file ("list.xml");
    ASSERT_TRUE (playlist.savePlaylist (saved));

    // Into a list with rows: the user is asked; Cancel, Add and Replace.
    alerts.choice = 2;
    playlist.openPlaylistFile (saved, false);
    EXPECT_EQ (alerts.shown.back().title, "Add or Replace");
    EXPECT_EQ (alerts.shown.back().message, "Add the files in the playlist or replace?");
    EXPECT_EQ (order(), "a b c");
    alerts.choice = 0;
    playlist.openPlaylistFile (saved, false);
    EXPECT_EQ (order(), "a b c a b c");
    alerts.choice = 1;
    playlist.selectRow (4);
    playlist.openPlaylistFile (saved, false);
    EXPECT_EQ (order(), "a b c");
    EXPECT_EQ (playlist.getCurrentRow(), -1);

    // Document order decides, not ID; a missing file and a TRACK without Path are listed once.
    playlist.clear();
    EXPECT_EQ (playlist.getPlaylistXml(), nullptr);
    temp.file ("hand.xml")
        .replaceWithText ("<PLAYLIST_DATA><TRACK ID=\"5\" Path=\"" + paths[2]
                          + "\"/><TRACK ID=\"0\"/>"
                            "<TRACK ID=\"1\" Path=\"/nowhere/x.wav\"/><TRACK ID=\"9\" Path=\""
                          + paths[0]
                          + "\"/>"
                            "<TRACK Path=\"relative.wav\"/></PLAYLIST_DATA>");
    alerts.shown.clear();
    playlist.openPlaylistFile (temp.file ("hand.xml"), true);
    EXPECT_EQ (order(), "c a");
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].title, "File(s) not found");
    EXPECT_EQ (alerts.shown[0].message, "Couldn't locate these files:\r\n\r\n\r\n/nowhere/x.wav\r\nrelative.wav\r\n");
    EXPECT_EQ (playlist.getCurrentRow(), 0) << "loadFirst loads the first added row";

    // Chosen files: more than one with a playlist among them is refused; a foreign or broken
    // .xml adds nothing; without playlists the caller goes on.
    alerts.shown.clear();
    EXPECT_TRUE (playlist.openPlaylistFiles ({ saved, juce::File (paths[0]) }, false));
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].message, "Please select a playlist. Can't open multiple playlists.");
    temp.file ("other.xml").replaceWithText ("<SOMETHING><TRACK Path=\"" + paths[1] + "\"/></SOMETHING>");
    temp.file ("broken.xml").replaceWithText ("<PLAYLIST_DATA><TRACK Path=\"" + paths[1] + "\"/>");
    for (auto* name : { "other.xml", "broken.xml" })
        EXPECT_TRUE (playlist.openPlaylistFiles ({ temp.file (name) }, false));
    EXPECT_EQ (order(), "c a");
    EXPECT_FALSE (playlist.openPlaylistFiles ({ juce::File (paths[1]) }, false));
}

TEST_F (PlaylistTest, HostilePlaylistsNeitherCrashNorHang)
{
    const auto track = files ({ "t" })[0];
    juce::MemoryOutputStream text;
    text << "<PLAYLIST_DATA>";
    for (int i = 0; i < 3000; ++i)
        text << "<TRACK Path=\""
             << (i % 3 == 0   ? track
                 : i % 3 == 1 ? juce::String ("/dev/zero")
                              : temp.folder.getFullPathName())
             << "\"/>";
    text << "<TRACK Path=\"/" << juce::String::repeatedString ("x", 3000000) << "\"/></PLAYLIST_DATA>";
    temp.file ("big.xml").replaceWithText (text.toString());

    playlist.openPlaylistFile (temp.file ("big.xml"), false);
    EXPECT_EQ (playlist.getNumRows(), 1000) << "devices and folders are never read as tracks";
    ASSERT_EQ (alerts.shown.size(), 2u);
    EXPECT_EQ (alerts.shown[0].title, "File(s) not found");
    EXPECT_LT (alerts.shown[0].message.length(), 2000) << "a huge path is shortened in the alert";
    EXPECT_TRUE (alerts.shown[1].message.startsWith ("2000 files you selected could not be read."));

    playlist.clear();
    temp.file ("deep.xml").replaceWithText ("<PLAYLIST_DATA>" + juce::String::repeatedString ("<TRACK>", 500000));
    playlist.openPlaylistFile (temp.file ("deep.xml"), false);
    EXPECT_EQ (playlist.getNumRows(), 0);
}

TEST_F (PlaylistTest, TableLayoutRoundTripsAndHostileLayoutsAreTamed)
{
    auto& header = playlist.table.getHeader();
    header.moveColumn (3, 0);
    header.setColumnWidth (2, 321);
    header.setColumnVisible (9, false);
    header.setSortColumnId (8, false);
    const auto layout = playlist.getTableLayout();
    EXPECT_TRUE (layout.startsWith ("<TABLELAYOUT sortedCol=\"8\" sortForwards=\"0\">"));

    PlaylistComponent other { formats, activePopup };
    other.restoreTableLayout (layout);
    EXPECT_EQ (other.getTableLayout(), layout);

    // Unknown ids skipped, widths kept within the column's limits, visible unless stored hidden.
    other.restoreTableLayout (
        "<TABLELAYOUT sortedCol=\"77\"><COLUMN id=\"99\" width=\"5\"/>"
        "<COLUMN id=\"9\" width=\"2147483647\"/><COLUMN id=\"2\" width=\"-5\" visible=\"0\"/></TABLELAYOUT>");
    auto& h = other.table.getHeader();
    EXPECT_EQ (h.getColumnIdOfIndex (0, false), 9);
    EXPECT_EQ (h.getColumnWidth (9), PlaylistComponent::maximumColumnWidth);
    EXPECT_TRUE (h.isColumnVisible (9));
    EXPECT_FALSE (h.isColumnVisible (2));
    EXPECT_EQ (h.getSortColumnId(), 0);

    const auto before = other.getTableLayout();
    other.restoreTableLayout ("<OTHER/>");
    other.restoreTableLayout ("<TABLELAYOUT>" + juce::String::repeatedString ("<COLUMN>", 100000));
    EXPECT_EQ (other.getTableLayout(), before);
}

TEST (DeckBank, AddSwitchDeleteAndSendTracks)
{
    TempFolder temp;
    AlertRecorder alerts;
    MainAudioAppComponent app { false };
    app.setSize (850, 720);

    EXPECT_FALSE (app.deckButtons[0]->isVisible()) << "one deck: no tab row";
    app.deleteCurrentDeck();
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].message, "Can't delete current deck when there's only one deck!");

    app.addDeck (nullptr);
    app.addDeck (nullptr);
    EXPECT_EQ (app.getNumDecks(), 3);
    EXPECT_EQ (app.getCurrentDeck(), app.decks[2]);

    // Switch to the middle deck by its tab, delete it: tabs read 1 and 2, the first is current.
    app.deckButtons[1]->triggerClick();
    pumpMessages (20);
    EXPECT_EQ (app.getCurrentDeck(), app.decks[1]);
    app.deleteCurrentDeck();
    EXPECT_EQ (app.getNumDecks(), 2);
    EXPECT_EQ (app.deckButtons[0]->getButtonText(), "1");
    EXPECT_EQ (app.deckButtons[1]->getButtonText(), "2");
    EXPECT_EQ (app.getCurrentDeck(), app.decks[0]);
    EXPECT_TRUE (app.decks[0]->isVisible());

    // Tracks moved to deck 2 leave deck 1; copied to a new deck they stay.
    auto& source = app.decks[0]->playlist;
    source.addFiles ({ writeWav (temp.file ("a.wav"), 44100.0, 1, 441, [] (int, int) { return 0.0f; }).getFullPathName() }, false,
                     true, -1);
    source.table.selectRow (0);
    app.sendTracksToDeck (0, false);
    EXPECT_EQ (app.getNumDecks(), 3);
    EXPECT_EQ (app.decks[2]->playlist.getNumRows(), 1);
    EXPECT_EQ (source.getNumRows(), 1);

    app.deckButtons[0]->triggerClick();
    pumpMessages (20);
    source.table.selectRow (0);
    app.sendTracksToDeck (2, true);
    EXPECT_EQ (source.getNumRows(), 0);
    EXPECT_EQ (app.decks[1]->playlist.getNumRows(), 1);

    app.addDeck (nullptr);
    app.addDeck (nullptr);
    EXPECT_EQ (app.getNumDecks(), 4) << "four at most";

    app.deleteAllDecks();
    EXPECT_EQ (app.getNumDecks(), 1);
    EXPECT_EQ (app.deckButtons.size(), 1);
}
