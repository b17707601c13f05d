#pragma once

#include "playlist/PlaylistRow.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The deck's list of tracks. It reads each added file's facts, marks the loaded row, and tells
    the deck by action messages ("New Track Selected", "Current Track Deleted"). Message thread.
*/
class PlaylistComponent : public juce::Component,
                          public juce::ActionBroadcaster
{
public:
    explicit PlaylistComponent (juce::AudioFormatManager&);

    /** Adds readable files; unreadable ones are reported once, together. insertAt < 0 appends. */
    void addFiles (const juce::StringArray& files, bool loadFirst, bool appendToEnd, int insertAt);

    /** Makes `row` the loaded row and asks the deck to load it. */
    void selectRow (int row);

    /** Empties the list; a loaded track is deleted from the deck. */
    void clear();

    [[nodiscard]] int getNumRows() const noexcept { return (int) rows.size(); }
    [[nodiscard]] int getCurrentRow() const noexcept { return currentRow; }
    [[nodiscard]] const PlaylistRow* getRow (int row) const noexcept;
    [[nodiscard]] juce::String getCurrentRowPath() const;

    /** A row can be played when its file still exists. */
    [[nodiscard]] bool isRowPlayable (int row) const;

    /** Moves the loaded mark one row up (-1) or down (+1); returns the new row's path, or empty. */
    juce::String moveCurrentRow (int delta);

    /** For Play-Next: advances to the next playable row and returns its path, or empty at the end. */
    juce::String nextPlayableFile();

    /** The loaded row shows as playing while the deck plays. */
    void setPlayingIndicator (bool isPlaying);
    [[nodiscard]] bool getPlayingIndicator() const noexcept { return playingIndicator; }

    void paint (juce::Graphics&) override;
    void mouseDoubleClick (const juce::MouseEvent&) override;
    void focusGained (FocusChangeType) override;
    void focusLost (FocusChangeType) override;

    static constexpr int rowHeight = 22;

private:
    juce::AudioFormatManager& formatManager;
    std::vector<PlaylistRow> rows;
    int currentRow = -1;
    bool playingIndicator = false;

    void markLoaded (int row);

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PlaylistComponent)
};

} // namespace Marlode
