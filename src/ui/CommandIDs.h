#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <vector>

namespace Marlode
{

/** Every keyboard command's number. The numbers are stable: key mappings refer to them. */
namespace CommandIDs
{
    enum : int
    {
        volumeDown = 1,
        volumeUp = 2,
        mute = 3,
        panLeft = 4,
        panRight = 5,
        playPause = 6,
        playFromStart = 7,
        stop = 8,
        previousTrack = 9,
        nextTrack = 10,
        skipForward = 11,
        skipBack = 12,
        jumpForward = 13,
        jumpBack = 14,
        replayLeft = 15,
        replayRight = 16,
        loopStartLeft = 17,
        loopStartRight = 18,
        loopEndLeft = 19,
        loopEndRight = 20,
        scrollLeft = 21,
        scrollRight = 22,
        zoomIn = 23,
        zoomOut = 24,
        zoomInReplay = 25,
        zoomOutReplay = 26,
        zoomInLoopStart = 27,
        zoomOutLoopStart = 28,
        zoomInLoopEnd = 29,
        zoomOutLoopEnd = 30,
        setReplayMarker = 31,
        setLoopStartMarker = 32,
        setLoopEndMarker = 33,
        loopToStart = 34,
        loopToEnd = 35,
        autoPlayToggle = 36,
        followToggle = 37,
        replayToggle = 38,
        loopToggle = 39,
        openFile = 40,
        showPlaylist = 41,
        showEQ = 42,
        showFX = 43,
        deck1 = 44,
        deck2 = 45,
        deck3 = 46,
        deck4 = 47,
        addDeck = 48,
        deleteDeck = 49,
        resetMeters = 50,
        settings = 51,
        quit = 53,
        fullScreen = 54,
        showDebug = 55
    };

    /** One row of the command table: what the key mapping editor and the help show. */
    struct Info
    {
        int id;
        const char* name;
        const char* description;
        const char* category;
        std::vector<juce::KeyPress> keys;
    };

    /** The whole table, in command number order. */
    const std::vector<Info>& table();

    /** Fills `result` from the table; false for a number it doesn't hold. */
    bool fillInfo (int id, juce::ApplicationCommandInfo& result);
}

} // namespace Marlode
