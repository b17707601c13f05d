#pragma once

#include "playlist/AnalyseComponent.h"
#include "playlist/HorizontalResizeBar.h"
#include "playlist/PlaylistCursor.h"
#include "playlist/PlaylistRow.h"
#include "playlist/RowAnalysis.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The deck's list of tracks: a table with one row per file and its facts, reordering by drag,
    file drops at a place, a row menu, and the marks of the loaded and playing row. The deck and
    the deck bank hear about it through Listener; the deck's player moves through it as a
    PlaylistCursor. Message thread.
*/
class PlaylistComponent : public juce::Component,
                          public juce::TableListBoxModel,
                          public PlaylistCursor,
                          public juce::DragAndDropTarget,
                          public juce::FileDragAndDropTarget
{
public:
    struct Listener
    {
        virtual ~Listener() = default;
        /** A row was chosen to play: `path` is its file. */
        virtual void newTrackSelected (const juce::String& path) { juce::ignoreUnused (path); }
        /** The loaded row went from the list. */
        virtual void currentTrackDeleted() {}
        /** Keyboard focus came into or left the table. */
        virtual void playlistFocusChanged() {}
        /** Where the row menu sends tracks: 0 a new deck, 1 to 4 that deck. */
        virtual void sendTracksToDeck (int deckNumber, bool removeFromSource)
        {
            juce::ignoreUnused (deckNumber, removeFromSource);
        }
    };

    void addListener (Listener* l) { listeners.add (l); }
    void removeListener (Listener* l) { listeners.remove (l); }

    /** `activePopup` is the window's one popup slot, which the analyse options share. */
    PlaylistComponent (juce::AudioFormatManager&, PopupDisplayComponent*& activePopup);
    ~PlaylistComponent() override;

    //==============================================================================
    /** Adds readable files; unreadable ones are reported together. insertAt < 0 places after the
        selection (or at the end); appendToEnd always appends. */
    void addFiles (const juce::StringArray& files, bool loadFirst, bool appendToEnd, int insertAt);

    /** Makes `row` the loaded row and asks the deck to load it. */
    void selectRow (int row);

    /** Removes the selected rows; the deck hears once if the loaded one went. */
    void deleteSelectedRows();

    /** Empties the list; a loaded track is deleted from the deck. */
    void clear();

    [[nodiscard]] std::vector<const PlaylistRow*> getSelectedRows() const;
    [[nodiscard]] juce::Array<const PlaylistRow*> getSelectedRowArray() const;
    [[nodiscard]] juce::StringArray getSelectedPaths() const;

    [[nodiscard]] int getNumRows() override { return (int) rows.size(); }
    [[nodiscard]] int getCurrentRow() const noexcept { return loadedRow; }
    [[nodiscard]] const PlaylistRow* getRow (int row) const noexcept;
    [[nodiscard]] juce::String getCurrentRowPath() const;
    [[nodiscard]] bool isRowPlayable (int row) const;
    juce::String step (int delta) override;
    juce::String nextPlayableFile() override;

    void setPlayingIndicator (bool isPlaying);
    [[nodiscard]] bool getPlayingIndicator() const noexcept { return playingIndicator; }

    /** The first line of the report on files no reader accepts ("1 file you selected could not be read."). */
    [[nodiscard]] static juce::String couldNotBeRead (int count);

    /** The text of a cell: columns 1 to 9 of the table, 10 to 17 the analysis values. */
    [[nodiscard]] static juce::String getCellText (const PlaylistRow&, int columnId);

    /** The loaded row's integrated loudness in LUFS; NaN when no row is loaded or it has not been
        analysed. */
    [[nodiscard]] double getLoadedLoudness() const noexcept;

    /** Measures the loaded row in the background if it has not been analysed, its progress shown
        in its loudness cell, then calls onLoadedRowAnalysed. A measurement of another row in
        progress is given up. */
    void analyseLoadedRowInBackground();

    /** The background measurement of a row has ended (its rows hold the results). */
    std::function<void()> onLoadedRowAnalysed;

    /** Measures the selected rows not yet analysed, one modal progress window each, in list
        order; "Cancel All" keeps the rows finished before. Then shows the selection's results. */
    void analyseSelectedRows();

    /** Shows or hides the analyse panel beside the table. */
    void showAnalysePanel (bool shouldShow);

    /** Where a drag at this y (in this component) would insert: 0 to the row count. */
    [[nodiscard]] int dropIndexAt (int x, int y) const;

    /** Moves the dragged rows so they land at `index`, as a row drop does. */
    void moveRows (const juce::SparseSet<int>& dragged, int index);

    //==============================================================================
    void paintRowBackground (juce::Graphics&, int row, int width, int height, bool selected) override;
    void paintCell (juce::Graphics&, int row, int columnId, int width, int height, bool selected) override;
    void cellClicked (int row, int columnId, const juce::MouseEvent&) override;
    void cellDoubleClicked (int row, int columnId, const juce::MouseEvent&) override;
    void returnKeyPressed (int lastRowSelected) override;
    void deleteKeyPressed (int lastRowSelected) override;
    void backgroundClicked (const juce::MouseEvent&) override;
    void selectedRowsChanged (int lastRowSelected) override;
    juce::var getDragSourceDescription (const juce::SparseSet<int>& rowsToDescribe) override;

    bool isInterestedInDragSource (const SourceDetails&) override;
    void itemDragMove (const SourceDetails&) override;
    void itemDragExit (const SourceDetails&) override;
    void itemDropped (const SourceDetails&) override;

    bool isInterestedInFileDrag (const juce::StringArray&) override;
    void fileDragMove (const juce::StringArray&, int x, int y) override;
    void fileDragExit (const juce::StringArray&) override;
    void filesDropped (const juce::StringArray&, int x, int y) override;

    void resized() override;
    void paint (juce::Graphics&) override;
    void focusOfChildComponentChanged (FocusChangeType) override;

    /** Shows the row menu for the selection (what a right click does). */
    void showRowMenu();

    /** What the row menu's ids do: 1 remove, 2-6 move to, 7-11 copy to, 12 reveal, 13 duplicate. */
    void menuItemChosen (int result);

    //==============================================================================
    /** The list as a PLAYLIST_DATA element, kept current on every change; null while empty. */
    [[nodiscard]] const juce::XmlElement* getPlaylistXml() const noexcept { return playlistXml.get(); }

    /** Adds the element's tracks in document order; missing files are reported in one alert. */
    void readPlaylist (const juce::XmlElement& playlist, bool replace, bool loadFirst);

    /** Reads a playlist file, asking whether to add or replace when the list has rows. A file
        that isn't a playlist, or can't be read safely, adds nothing. */
    void openPlaylistFile (const juce::File& file, bool loadFirst);

    /** Playlists among chosen or dropped files: false when there are none, so that the caller
        treats them all as tracks; otherwise the one playlist is opened, or a warning shown. */
    bool openPlaylistFiles (const juce::Array<juce::File>& files, bool loadFirst);

    /** Dropped or handed-over paths as files; relative ones name nothing and are left out. */
    [[nodiscard]] static juce::Array<juce::File> filesFromPaths (const juce::StringArray& paths);

    /** Writes the list to `file`; false if it is empty or can't be written. */
    bool savePlaylist (const juce::File& file) const;

    /** The analyse panel's width (as the centre line), the header's layout with the list, and the
        analyse options, as saved. setState reads the list into an empty playlist without
        loading a track; files that have gone are reported once. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    /** The header's column order, widths, visibility and sort column as TABLELAYOUT text. */
    [[nodiscard]] juce::String getTableLayout() const;
    void restoreTableLayout (const juce::String& layout);

    //==============================================================================
    juce::TableListBox table { "Playlist", this };

    /** The numbers of the other decks, for the menu's "Move to" and "Copy to". */
    std::function<juce::Array<int>()> getOtherDeckNumbers;

    /** Turns dropped paths into the supported ones (folders expanded, others reported). */
    std::function<juce::StringArray (const juce::StringArray&)> fileFilter;

    Analyse::OptionsComponent analyseOptions;
    Analyse::Component analysePanel { analyseOptions };
    HorizontalResizeBar analyseResizeBar;

    /** The analyse panel's width in pixels, set by its resize bar; the session keeps it. */
    int analysePanelWidth = defaultAnalysePanelWidth;

    static constexpr int defaultAnalysePanelWidth = 300, minimumAnalysePanelWidth = 150, minimumTableWidth = 200,
                         resizeBarWidth = 6;
    static constexpr int rowHeight = 22;
    static constexpr int lufsColumn = 10;
    static constexpr int minimumColumnWidth = 20, maximumColumnWidth = 1000;

private:
    void rowsChanged();
    void createPlaylistXml();
    void markLoaded (int row);
    void clearDrag();

    juce::AudioFormatManager& formatManager;
    juce::ListenerList<Listener> listeners;
    std::vector<PlaylistRow> rows;
    std::unique_ptr<juce::XmlElement> playlistXml;
    int loadedRow = -1;
    bool playingIndicator = false;
    int anchorRow = -1;
    int panelWidthAtPress = defaultAnalysePanelWidth;

    bool isFileDragActive = false, isRowDragActive = false;
    int dropIndex = -1;
    juce::SparseSet<int> draggedRows;
    std::unique_ptr<juce::Component> modalPopupEater;
    std::unique_ptr<RowAnalysis> rowAnalysis;

    JUCE_DECLARE_WEAK_REFERENCEABLE (PlaylistComponent)
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PlaylistComponent)
};

} // namespace Marlode
