#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

//==============================================================================
/**
    What a deck's player asks of its list of tracks: where the next or previous playable track
    is. Moving the cursor marks that row as the loaded one. Message thread.
*/
class PlaylistCursor
{
public:
    virtual ~PlaylistCursor() = default;

    /** The playable row `delta` rows from the loaded one, now loaded; empty (and no move) when
        there is none, or when the list holds fewer than two rows. */
    virtual juce::String step (int delta) = 0;

    /** The first playable row after the loaded one, now loaded; empty when there is none. */
    virtual juce::String nextPlayableFile() = 0;
};

} // namespace Marlode
