#include "playlist/PlaylistComponent.h"
#include "playlist/BackgroundAnalyseTrack.h"
#include "engine/AudioFileGuard.h"
#include "engine/FormatTime.h"
#include "state/PlaylistXml.h"
#include "state/SafeXml.h"
#include "state/TableLayoutXml.h"
#include "ui/Alerts.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

namespace
{
    // Files whose format is known by name but whose contents no reader accepts.
    const Alerts::FileListQuestion unreadableFiles {
        "Error reading files",
        " you selected could not be read.",
        "",
        "Invalid Files",
        "A valid audio format reader could not be created for the following files. \n"
        "To reach this point the file type must be a valid format but is not readable, the file is possibly corrupted. \n\n",
        true
    };

    struct Column
    {
        int id;
        const char* title;
        int width;
    };

    const Column columns[] = { { 1, "#", 25 },       { 2, "File Name", 200 },   { 6, "Duration", 75 },
                               { 4, "Format", 75 },  { 8, "Sample Rate", 100 }, { 9, "Bits", 35 },
                               { 5, "Size MB", 75 }, { 7, "Channels", 75 },     { 3, "File Path", 500 } };

    PlaylistRow rowFor (const juce::File& file, const juce::AudioFormatReader& reader)
    {
        PlaylistRow row;
        row.file = file;
        row.path = file.getFullPathName();
        row.fileName = file.getFileNameWithoutExtension();
        row.format = file.getFileExtension().fromFirstOccurrenceOf (".", false, false).toUpperCase();
        row.sampleRate = reader.sampleRate;
        row.bitsPerSample = (int) reader.bitsPerSample;
        row.numChannels = (int) reader.numChannels;
        row.lengthInSamples = reader.lengthInSamples;
        row.sizeMB = (double) file.getSize() / 1.0e6;

        const auto rate = (juce::int64) reader.sampleRate;
        row.durationText = durationText (rate > 0 ? (double) reader.lengthInSamples / (double) rate : 0.0);
        return row;
    }

    /** Covers the playlist while its menu is open: a click there dismisses the menu. */
    class ModalPopupDismissMouseEater : public juce::Component
    {
    public:
        explicit ModalPopupDismissMouseEater (std::function<void()> onClick) : clicked (std::move (onClick)) {}

        void mouseDown (const juce::MouseEvent&) override
        {
            juce::PopupMenu::dismissAllActiveMenus();
            if (clicked)
                clicked();
        }

    private:
        std::function<void()> clicked;
    };
}

PlaylistComponent::PlaylistComponent (juce::AudioFormatManager& formats, PopupDisplayComponent*& activePopup)
    : analyseOptions (activePopup), formatManager (formats)
{
    setWantsKeyboardFocus (false);

    for (const auto& c : columns)
        table.getHeader().addColumn (c.title, c.id, c.width, minimumColumnWidth, maximumColumnWidth,
                                     juce::TableHeaderComponent::defaultFlags);

    table.setRowHeight (rowHeight);
    table.setMultipleSelectionEnabled (true);
    table.setColour (juce::ListBox::backgroundColourId, sliderBackColour);
    table.setWantsKeyboardFocus (true);
    addAndMakeVisible (table);

    addChildComponent (analysePanel);
    addChildComponent (analyseResizeBar);
    analysePanel.analyseButton.onClick = [this] { analyseSelectedRows(); };
    analyseResizeBar.onPress = [this] { panelWidthAtPress = analysePanel.getWidth(); };
    analyseResizeBar.onMove = [this] (int pixelsRight)
    {
        analysePanelWidth = panelWidthAtPress - pixelsRight;
        resized();
    };
}

PlaylistComponent::~PlaylistComponent()
{
    modalPopupEater.reset();
}

//==============================================================================
juce::String PlaylistComponent::couldNotBeRead (int count)
{
    return Alerts::filesProblem (count, unreadableFiles.problem);
}

juce::String PlaylistComponent::getCellText (const PlaylistRow& r, int columnId)
{
    auto dB = [] (double v) { return juce::String (v, 2) + " dB"; };

    switch (columnId)
    {
        case 1: return juce::String (r.rowNumber);
        case 2: return r.fileName;
        case 3: return r.path;
        case 4: return r.format;
        case 5: return juce::String (r.sizeMB, 2) + " MB";
        case 6: return r.durationText;
        case 7: return juce::String (r.numChannels);
        case 8: return juce::String (r.sampleRate, 0);
        case 9: return r.format == "MP3" ? juce::String() : juce::String (r.bitsPerSample);
        case lufsColumn: return dB (r.lufs);
        case 11: return dB (r.truePeakMax);
        case 12: return dB (r.rmsStereo);
        case 13: return dB (r.rmsLeft);
        case 14: return dB (r.rmsRight);
        case 15: return dB (r.peakLeft);
        case 16: return dB (r.peakRight);
        case 17: return r.analysisTime;
        default: return {};
    }
}

//==============================================================================
void PlaylistComponent::addFiles (const juce::StringArray& files, bool loadFirst, bool appendToEnd, int insertAt)
{
    std::vector<PlaylistRow> added;
    juce::StringArray failed;

    for (const auto& path : files)
    {
        if (path.isEmpty() || ! juce::File::isAbsolutePath (path))
            continue;

        const juce::File file (path);
        const auto reader = AudioFileGuard::createReader (formatManager, file);

        if (reader == nullptr)
            failed.add (path);
        else
            added.push_back (rowFor (file, *reader));
    }

    int firstNew = (int) rows.size();

    if (! rows.empty() && ! appendToEnd)
    {
        if (insertAt >= 0)
            firstNew = juce::jmin (insertAt, (int) rows.size());
        else if (table.getNumSelectedRows() > 0)
            firstNew = table.getSelectedRows().getRange (table.getSelectedRows().getNumRanges() - 1).getEnd();
    }

    const bool hadRows = ! rows.empty();

    if (! added.empty())
    {
        rows.insert (rows.begin() + firstNew, added.begin(), added.end());

        if (loadedRow >= firstNew)
            loadedRow += (int) added.size();

        rowsChanged();

        table.deselectAllRows();

        if (hadRows)
            table.selectRangeOfRows (firstNew, firstNew + (int) added.size() - 1, true);
        else
            table.selectRow ((int) rows.size() - 1);
    }

    Alerts::askToListFiles (unreadableFiles, failed, this);

    if (loadFirst && ! added.empty())
        selectRow (firstNew);
}

void PlaylistComponent::rowsChanged()
{
    createPlaylistXml();
    table.updateContent();
    repaint();
}

void PlaylistComponent::markLoaded (int row)
{
    for (auto& r : rows)
        r.isLoaded = false;

    loadedRow = juce::isPositiveAndBelow (row, (int) rows.size()) ? row : -1;

    if (loadedRow >= 0)
        rows[(size_t) loadedRow].isLoaded = true;

    table.repaint();
}

void PlaylistComponent::selectRow (int row)
{
    if (! juce::isPositiveAndBelow (row, (int) rows.size()))
        return;

    markLoaded (row);
    const auto path = rows[(size_t) row].path;
    listeners.call ([&path] (Listener& l) { l.newTrackSelected (path); });
}

void PlaylistComponent::deleteSelectedRows()
{
    const auto selected = table.getSelectedRows();
    int removed = 0;

    for (int i = 0; i < selected.size(); ++i)
    {
        const auto index = selected[i] - removed;

        if (! juce::isPositiveAndBelow (index, (int) rows.size()))
            continue;

        if (index == loadedRow)
        {
            loadedRow = -1;
            listeners.call ([] (Listener& l) { l.currentTrackDeleted(); });
        }
        else if (index < loadedRow)
        {
            --loadedRow;
        }

        rows.erase (rows.begin() + index);
        ++removed;
    }

    table.deselectAllRows();
    rowsChanged();
}

void PlaylistComponent::clear()
{
    const bool hadLoaded = loadedRow >= 0;
    rows.clear();
    loadedRow = -1;
    playingIndicator = false;

    if (hadLoaded)
        listeners.call ([] (Listener& l) { l.currentTrackDeleted(); });

    table.deselectAllRows();
    rowsChanged();
}

std::vector<const PlaylistRow*> PlaylistComponent::getSelectedRows() const
{
    std::vector<const PlaylistRow*> selected;
    const auto set = table.getSelectedRows();

    for (int i = 0; i < set.size(); ++i)
        if (auto* r = getRow (set[i]))
            selected.push_back (r);

    return selected;
}

juce::Array<const PlaylistRow*> PlaylistComponent::getSelectedRowArray() const
{
    const auto selected = getSelectedRows();
    return juce::Array<const PlaylistRow*> (selected.data(), (int) selected.size());
}

juce::StringArray PlaylistComponent::getSelectedPaths() const
{
    juce::StringArray paths;
    for (auto* r : getSelectedRows())
        paths.add (r->path);
    return paths;
}

const PlaylistRow* PlaylistComponent::getRow (int row) const noexcept
{
    return juce::isPositiveAndBelow (row, (int) rows.size()) ? &rows[(size_t) row] : nullptr;
}

juce::String PlaylistComponent::getCurrentRowPath() const
{
    if (auto* row = getRow (loadedRow))
        return row->path;
    return {};
}

bool PlaylistComponent::isRowPlayable (int row) const
{
    auto* r = getRow (row);
    return r != nullptr && r->file.existsAsFile();
}

juce::String PlaylistComponent::step (int delta)
{
    const auto target = loadedRow + delta;

    if (rows.size() < 2 || ! isRowPlayable (target))
        return {};

    markLoaded (target);
    return rows[(size_t) target].path;
}

juce::String PlaylistComponent::nextPlayableFile()
{
    for (int row = loadedRow + 1; row < (int) rows.size(); ++row)
        if (isRowPlayable (row))
        {
            markLoaded (row);
            return rows[(size_t) row].path;
        }

    return {};
}

void PlaylistComponent::setPlayingIndicator (bool isPlaying)
{
    playingIndicator = isPlaying;
    table.repaint();
}

//==============================================================================
void PlaylistComponent::paintRowBackground (juce::Graphics& g, int row, int width, int height, bool selected)
{
    if (selected)
        g.fillAll (panelMidColour);
    else if (row % 2 == 0)
        g.fillAll (evenRowColour);

    if (row == loadedRow)
        g.fillAll (playingIndicator ? playingRowColour : loadedRowColour);

    g.setColour (textColour);
    const auto numRows = (int) rows.size();

    if (isRowDragActive && ! draggedRows.contains (row) && numRows >= 2 && dropIndex >= 0)
    {
        const auto lineRow = dropIndex >= numRows ? numRows - 1 : dropIndex;
        const auto firstSelected = draggedRows.isEmpty() ? -1 : draggedRows[0];

        if (row == lineRow && dropIndex != firstSelected)
        {
            const bool atBottom = firstSelected < dropIndex || dropIndex >= numRows;
            g.fillRect (0, atBottom ? height - 3 : 0, width, 3);
        }
    }
    else if (isFileDragActive && dropIndex >= 0)
    {
        if (dropIndex >= numRows && row == numRows - 1)
            g.fillRect (0, height - 3, width, 3);
        else if (row == dropIndex)
            g.fillRect (0, 0, width, 3);
    }
}

void PlaylistComponent::paintCell (juce::Graphics& g, int row, int columnId, int width, int height, bool)
{
    if (! juce::isPositiveAndBelow (row, (int) rows.size()))
        return;

    auto& r = rows[(size_t) row];

    if (columnId == 1)
    {
        r.rowNumber = row + 1;

        if (r.isAnalysed)
        {
            g.setColour (onColour);
            g.drawRoundedRectangle (juce::Rectangle<float> (1.0f, 2.0f, (float) width - 2.0f, (float) height - 4.0f), 3.0f, 1.0f);
        }
    }

    g.setColour (textColour);
    g.setFont ((float) height * 0.6f);
    const auto justification = (columnId == 2 || columnId == 3) ? juce::Justification::centredLeft : juce::Justification::centred;
    const bool beingMeasured =
        columnId == lufsColumn && rowAnalysis != nullptr && ! r.isAnalysed && r.file == rowAnalysis->getFile();
    const auto text = beingMeasured ? "Analysing " + juce::String (juce::roundToInt (100.0 * rowAnalysis->getProgress())) + " %"
                                    : getCellText (r, columnId);
    g.drawText (text, 2, 0, width - 4, height, justification, true);

    g.setColour (widgetColour);
    g.fillRect (width - 1, 0, 1, height);
}

void PlaylistComponent::cellClicked (int, int, const juce::MouseEvent& e)
{
    if (e.mods.isPopupMenu())
        showRowMenu();
}

void PlaylistComponent::cellDoubleClicked (int row, int, const juce::MouseEvent&)
{
    selectRow (row);
}
void PlaylistComponent::returnKeyPressed (int row)
{
    selectRow (row);
}
void PlaylistComponent::deleteKeyPressed (int)
{
    deleteSelectedRows();
}

void PlaylistComponent::backgroundClicked (const juce::MouseEvent&)
{
    table.deselectAllRows();
    repaint();
}

void PlaylistComponent::selectedRowsChanged (int row)
{
    const auto selected = table.getSelectedRows();

    if (rows.empty() || selected.isEmpty())
    {
        analysePanel.showResults ({});
        return;
    }

    if (selected.size() == 1)
    {
        anchorRow = row;
        analysePanel.showResults (getSelectedRowArray());
        return;
    }

    // Shift with the arrows shrinks a range from the end it grew at.
    const auto first = selected[0];
    const auto last = selected[selected.size() - 1];

    if (row == last - 2 && anchorRow < row)
        table.deselectRow (last - 1);
    else if (anchorRow > row && row == first + 1)
        table.deselectRow (first);
    else if (row == anchorRow)
    {
        table.deselectAllRows();
        table.selectRow (anchorRow);
    }

    analysePanel.showResults (getSelectedRowArray());
}

//==============================================================================
void PlaylistComponent::analyseSelectedRows()
{
    const auto selected = table.getSelectedRows();
    juce::Array<int> unmeasured;

    for (int i = 0; i < selected.size(); ++i)
        if (auto* r = getRow (selected[i]); r != nullptr && ! r->isAnalysed)
            unmeasured.add (selected[i]);

    if (! unmeasured.isEmpty())
    {
        analysePanel.analyseButton.setEnabled (false);
        juce::WeakReference<PlaylistComponent> weak (this);

        for (int n = 0; n < unmeasured.size(); ++n)
        {
            const auto index = unmeasured[n];
            const auto file = rows[(size_t) index].file;

            BackgroundAnalyseTrack job (AudioFileGuard::createReader (formatManager, file), file.getFileName(), n + 1,
                                        unmeasured.size());
            const bool finished = job.runThread();

            // The modal loop dispatches messages: the list may have gone, or moved under the row.
            if (weak == nullptr)
                return;
            if (job.isCancelAll())
                break;

            auto* row = index < (int) rows.size() ? &rows[(size_t) index] : nullptr;
            if (! finished || row == nullptr || row->file != file)
                continue;

            job.writeResultsTo (*row);
            table.repaint();

            if (job.getRefusal().isNotEmpty())
                Alerts::warning ("Warning", job.getRefusal());
        }
    }

    analysePanel.showResults (getSelectedRowArray());
}

double PlaylistComponent::getLoadedLoudness() const noexcept
{
    const auto* r = getRow (loadedRow);
    return r != nullptr && r->isAnalysed ? (double) r->lufs : std::nan ("");
}

void PlaylistComponent::analyseLoadedRowInBackground()
{
    const auto* loaded = getRow (loadedRow);

    if (loaded == nullptr || loaded->isAnalysed || (rowAnalysis != nullptr && rowAnalysis->getFile() == loaded->file))
        return;

    rowAnalysis = std::make_unique<RowAnalysis> (AudioFileGuard::createReader (formatManager, loaded->file), loaded->file);
    rowAnalysis->onProgress = [this] { table.repaint(); };
    rowAnalysis->onFinished = [this]
    {
        const std::unique_ptr<RowAnalysis> done (rowAnalysis.release());

        // The rows may have moved meanwhile: every row of the file not yet analysed takes them.
        if (done->getResults().measured())
            for (auto& row : rows)
                if (row.file == done->getFile() && ! row.isAnalysed)
                    row.setAnalysis (done->getResults(), done->getTimeText());

        table.repaint();

        if (onLoadedRowAnalysed != nullptr)
            onLoadedRowAnalysed();
    };
}

void PlaylistComponent::showAnalysePanel (bool shouldShow)
{
    analysePanel.setVisible (shouldShow);
    analyseResizeBar.setVisible (shouldShow);
    resized();
}

//==============================================================================
juce::var PlaylistComponent::getDragSourceDescription (const juce::SparseSet<int>& selected)
{
    draggedRows = selected;
    isRowDragActive = true;
    repaint();
    return "Row Drag";
}

int PlaylistComponent::dropIndexAt (int x, int y) const
{
    if (x < 0 || x >= table.getWidth())
        return -1;

    const auto viewY = table.getViewport() != nullptr ? table.getViewport()->getViewPositionY() : 0;
    const auto headerHeight = table.getHeaderHeight();
    return juce::jlimit (0, (int) rows.size(), (rowHeight / 2 + y + viewY - headerHeight) / rowHeight);
}

bool PlaylistComponent::isInterestedInDragSource (const SourceDetails& details)
{
    return details.description == "Row Drag";
}

void PlaylistComponent::itemDragMove (const SourceDetails& details)
{
    dropIndex = dropIndexAt (details.localPosition.x, details.localPosition.y);

    if (dropIndex >= 0)
    {
        table.scrollToEnsureRowIsOnscreen (juce::jmax (0, dropIndex - 1));
        table.scrollToEnsureRowIsOnscreen (juce::jmin ((int) rows.size() - 1, dropIndex + 1));
    }

    table.repaint();
}

void PlaylistComponent::clearDrag()
{
    isRowDragActive = isFileDragActive = false;
    dropIndex = -1;
    draggedRows.clear();
    table.repaint();
}

void PlaylistComponent::itemDragExit (const SourceDetails&)
{
    clearDrag();
}

void PlaylistComponent::itemDropped (const SourceDetails& details)
{
    const auto index = dropIndexAt (details.localPosition.x, details.localPosition.y);
    const auto dragged = draggedRows;
    clearDrag();

    if (index >= 0 && ! dragged.isEmpty())
        moveRows (dragged, index);
}

void PlaylistComponent::moveRows (const juce::SparseSet<int>& dragged, int index)
{
    std::vector<PlaylistRow> moving;

    for (int i = 0; i < dragged.size(); ++i)
        if (auto* r = getRow (dragged[i]))
            moving.push_back (*r);

    for (int i = dragged.size(); --i >= 0;)
        if (juce::isPositiveAndBelow (dragged[i], (int) rows.size()))
            rows.erase (rows.begin() + dragged[i]);

    const auto first = dragged[0];
    const auto n = (int) moving.size();
    const auto firstRange = dragged.getRange (0);
    int insertion;

    if (index <= first)
        insertion = index;
    else if (! dragged.contains (index))
        insertion = index - n + 1; // rows dragged down land after the row under the line
    else if (firstRange.contains (index))
        insertion = 0;
    else
        insertion = index;

    insertion = juce::jlimit (0, (int) rows.size(), insertion);
    rows.insert (rows.begin() + insertion, moving.begin(), moving.end());

    // The loaded mark travels with its row.
    loadedRow = -1;
    for (int i = 0; i < (int) rows.size(); ++i)
        if (rows[(size_t) i].isLoaded)
            loadedRow = i;

    rowsChanged();
    table.deselectAllRows();
    table.selectRangeOfRows (insertion, insertion + n - 1, true);
}

bool PlaylistComponent::isInterestedInFileDrag (const juce::StringArray&)
{
    isFileDragActive = true;
    return true;
}

void PlaylistComponent::fileDragMove (const juce::StringArray&, int x, int y)
{
    dropIndex = dropIndexAt (x, y);
    table.repaint();
}

void PlaylistComponent::fileDragExit (const juce::StringArray&)
{
    clearDrag();
}

void PlaylistComponent::filesDropped (const juce::StringArray& files, int x, int y)
{
    const auto index = dropIndexAt (x, y);
    clearDrag();

    if (openPlaylistFiles (filesFromPaths (files), false))
        return;

    const auto list = fileFilter ? fileFilter (files) : files;
    addFiles (list, false, false, index);
}

//==============================================================================
void PlaylistComponent::showRowMenu()
{
    juce::PopupMenu menu, moveTo, copyTo;
    menu.addItem (1, "Remove");
    menu.addItem (13, "Duplicate");

    const auto others = getOtherDeckNumbers ? getOtherDeckNumbers() : juce::Array<int>();
    if (others.size() < 3)
    {
        moveTo.addItem (2, "New deck");
        copyTo.addItem (7, "New deck");
    }

    for (auto n : others)
        if (n >= 1 && n <= 4)
        {
            moveTo.addItem (2 + n, "Deck " + juce::String (n));
            copyTo.addItem (7 + n, "Deck " + juce::String (n));
        }

    menu.addSubMenu ("Move to", moveTo);
    menu.addSubMenu ("Copy to", copyTo);

    if (table.getNumSelectedRows() == 1)
        menu.addItem (12, "Show in File Manager");

    juce::WeakReference<PlaylistComponent> weak (this);
    modalPopupEater = std::make_unique<ModalPopupDismissMouseEater> (
        [weak]
        {
            juce::MessageManager::callAsync (
                [weak]
                {
                    if (weak != nullptr)
                        weak->modalPopupEater.reset();
                });
        });
    modalPopupEater->setBounds (getLocalBounds());
    addAndMakeVisible (*modalPopupEater);

    menu.showMenuAsync (juce::PopupMenu::Options(),
                        [weak] (int result)
                        {
                            if (weak == nullptr)
                                return;

                            weak->modalPopupEater.reset();
                            weak->menuItemChosen (result);
                        });
}

void PlaylistComponent::menuItemChosen (int result)
{
    if (result == 1)
        deleteSelectedRows();
    else if (result >= 2 && result <= 6)
        listeners.call ([result] (Listener& l) { l.sendTracksToDeck (result - 2, true); });
    else if (result >= 7 && result <= 11)
        listeners.call ([result] (Listener& l) { l.sendTracksToDeck (result - 7, false); });
    else if (result == 12)
    {
        if (auto* r = getRow (table.getSelectedRow()))
            r->file.revealToUser();
    }
    else if (result == 13)
        addFiles (getSelectedPaths(), false, false, -1);
}

//==============================================================================
void PlaylistComponent::createPlaylistXml()
{
    if (rows.empty())
    {
        // An empty list stores nothing, so that a session reads as having no playlist.
        playlistXml.reset();
        return;
    }

    juce::StringArray paths;
    for (const auto& r : rows)
        paths.add (r.path);

    playlistXml = PlaylistXml::create (paths);
}

void PlaylistComponent::readPlaylist (const juce::XmlElement& playlist, bool replace, bool loadFirst)
{
    if (replace)
    {
        rows.clear();
        loadedRow = -1;
        table.deselectAllRows();
        rowsChanged();
    }

    juce::StringArray found, missing;

    for (const auto& path : PlaylistXml::trackPaths (playlist))
    {
        if (path.isNotEmpty() && juce::File::isAbsolutePath (path) && juce::File (path).exists())
            found.add (path);
        else
            missing.add (path);
    }

    if (! missing.isEmpty())
        Alerts::warning ("File(s) not found", "Couldn't locate these files:\r\n\r\n" + Alerts::listOfFiles (missing));

    addFiles (found, loadFirst, true, -1);
}

void PlaylistComponent::openPlaylistFile (const juce::File& file, bool loadFirst)
{
    juce::String error;
    auto xml = SafeXml::parseFile (file, error);

    if (xml == nullptr || ! xml->hasTagName ("PLAYLIST_DATA"))
    {
        juce::Logger::writeToLog ("Not a playlist, nothing added: " + file.getFullPathName()
                                  + (error.isNotEmpty() ? " (" + error + ")" : juce::String()));
        return;
    }

    if (rows.empty())
    {
        readPlaylist (*xml, false, loadFirst);
        return;
    }

    std::shared_ptr<juce::XmlElement> document (std::move (xml));
    juce::WeakReference<PlaylistComponent> weak (this);

    Alerts::choice ("Add or Replace", "Add the files in the playlist or replace?", { "Add", "Replace", "Cancel" },
                    [weak, document, loadFirst] (int button)
                    {
                        if (weak != nullptr && (button == 0 || button == 1))
                            weak->readPlaylist (*document, button == 1, loadFirst);
                    });
}

bool PlaylistComponent::openPlaylistFiles (const juce::Array<juce::File>& files, bool loadFirst)
{
    int playlists = 0;
    for (const auto& f : files)
        if (f.hasFileExtension (".xml"))
            ++playlists;

    if (playlists == 0)
        return false;

    // A playlist with tracks beside it is refused too: which should go where is unclear.
    if (files.size() > 1)
        Alerts::warning ("Warning!", "Please select a playlist. Can't open multiple playlists.");
    else
        openPlaylistFile (files.getFirst(), loadFirst);

    return true;
}

juce::Array<juce::File> PlaylistComponent::filesFromPaths (const juce::StringArray& paths)
{
    juce::Array<juce::File> files;
    for (const auto& path : paths)
        if (juce::File::isAbsolutePath (path))
            files.add (juce::File (path));
    return files;
}

bool PlaylistComponent::savePlaylist (const juce::File& file) const
{
    return playlistXml != nullptr && playlistXml->writeTo (file);
}

void PlaylistComponent::getState (DeckState& state) const
{
    state.playlistCentreLine = analysePanelWidth;
    state.tableLayout = getTableLayout();
    state.playlist.reset();

    if (playlistXml != nullptr)
        state.playlist.emplace (*playlistXml);

    analyseOptions.getState (state);
}

void PlaylistComponent::setState (const DeckState& state)
{
    analysePanelWidth = state.playlistCentreLine;
    resized();
    restoreTableLayout (state.tableLayout);

    if (state.playlist.has_value())
        readPlaylist (*state.playlist, true, false);

    if (state.hasAnalyseSettings)
        analyseOptions.setState (state);
}

juce::String PlaylistComponent::getTableLayout() const
{
    return table.getHeader().toString();
}

void PlaylistComponent::restoreTableLayout (const juce::String& layout)
{
    auto& header = table.getHeader();
    juce::Array<int> ids;

    for (int i = 0; i < header.getNumColumns (false); ++i)
        ids.add (header.getColumnIdOfIndex (i, false));

    if (const auto clean = TableLayoutXml::restore (layout, ids, minimumColumnWidth, maximumColumnWidth))
        header.restoreFromString (clean->toString (juce::XmlElement::TextFormat().singleLine().withoutHeader()));
}

//==============================================================================
void PlaylistComponent::resized()
{
    auto area = getLocalBounds();

    if (analysePanel.isVisible())
    {
        const auto widest = juce::jmax (minimumAnalysePanelWidth, area.getWidth() - minimumTableWidth - resizeBarWidth);
        analysePanel.setBounds (area.removeFromRight (juce::jlimit (minimumAnalysePanelWidth, widest, analysePanelWidth)));
        analyseResizeBar.setBounds (area.removeFromRight (resizeBarWidth));
    }

    table.setBounds (area);
}

void PlaylistComponent::paint (juce::Graphics& g)
{
    g.fillAll (sliderBackColour);
}

void PlaylistComponent::focusOfChildComponentChanged (FocusChangeType)
{
    listeners.call ([] (Listener& l) { l.playlistFocusChanged(); });
}

} // namespace Marlode
