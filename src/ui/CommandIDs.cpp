#include "ui/CommandIDs.h"

namespace Marlode::CommandIDs
{

namespace
{
    using K = juce::KeyPress;
    using M = juce::ModifierKeys;

    K key (int code, int modifiers = 0)
    {
        return K (code, modifiers, 0);
    }

    constexpr int cmd = M::commandModifier, shift = M::shiftModifier, alt = M::altModifier, ctrl = M::ctrlModifier;
}

const std::vector<Info>& table()
{
    // Names repeat where two commands share a purpose (17 to 20, 25 and 26), and the descriptions
    // of 13, 14 and 55 read as they always have: users know them from the shortcut list.
    static const std::vector<Info> commands {
        { volumeDown, "Volume Down", "Volume Down", "Transport", { key ('-') } },
        { volumeUp, "Volume Up", "Volume Up", "Transport", { key ('=') } },
        { mute, "Mute", "Mute", "Transport", { key ('0') } },
        { panLeft, "Pan Left", "Pan Left", "Transport", { key ('-', cmd) } },
        { panRight, "Pan Right", "Pan Right", "Transport", { key ('=', cmd) } },
        { playPause, "Play/Pause", "Play/Pause", "Transport", { key (K::spaceKey), key (K::playKey) } },
        { playFromStart, "Play From Start", "Play From Start", "Transport", { key (K::spaceKey, alt) } },
        { stop, "Stop", "Stop", "Transport", { key (K::returnKey) } },
        { previousTrack, "Prev Track", "Previous Track", "Transport", { key ('z'), key (K::rewindKey) } },
        { nextTrack, "Next Track", "Next Track", "Transport", { key ('x'), key (K::fastForwardKey) } },
        { skipForward, "Skip Forward", "Skip Forward", "Transport", { key (K::rightKey) } },
        { skipBack, "Skip Back", "Skip Back", "Transport", { key (K::leftKey) } },
        { jumpForward, "Jump Forward", "Jump Forward 30 Seconds", "Transport", { key ('v') } },
        { jumpBack, "Jump Back", "Jump Back 30 seconds", "Transport", { key ('c') } },
        { replayLeft, "Replay Left", "Move replay marker left", "Transport", { key (K::leftKey, alt) } },
        { replayRight, "Replay Right", "Move replay marker right", "Transport", { key (K::rightKey, alt) } },
        { loopStartLeft, "Loop Left", "Move loop marker left", "Transport", { key (K::leftKey, cmd) } },
        { loopStartRight, "Loop Right", "Move loop marker right", "Transport", { key (K::rightKey, cmd) } },
        { loopEndLeft, "Loop Left", "Move loop marker left", "Transport", { key (K::leftKey, cmd | shift) } },
        { loopEndRight, "Loop Right", "Move loop marker right", "Transport", { key (K::rightKey, cmd | shift) } },
        { scrollLeft, "Scroll waveform left", "Scroll waveform left", "Transport", { key (K::leftKey, shift) } },
        { scrollRight, "Scroll waveform right", "Scroll waveform right", "Transport", { key (K::rightKey, shift) } },
        { zoomIn, "Zoom In", "Zoom in on waveform", "Transport", { key (K::upKey) } },
        { zoomOut, "Zoom Out", "Zoom out on waveform", "Transport", { key (K::downKey) } },
        { zoomInReplay, "Zoom Replay", "Zoom in on replay marker", "Transport", { key (K::upKey, alt) } },
        { zoomOutReplay, "Zoom Replay", "Zoom in on replay marker", "Transport", { key (K::downKey, alt) } },
        { zoomInLoopStart, "Zoom In Loop Start", "Zoom in on loop start", "Transport", { key (K::upKey, cmd) } },
        { zoomOutLoopStart, "Zoom Out Loop Start", "Zoom out on loop marker", "Transport", { key (K::downKey, cmd) } },
        { zoomInLoopEnd, "Zoom In Loop End", "Zoom in on loop end", "Transport", { key (K::upKey, cmd | shift) } },
        { zoomOutLoopEnd, "Zoom Out Loop End", "Zoom out on loop end", "Transport", { key (K::downKey, cmd | shift) } },
        { setReplayMarker, "Set Replay Marker", "Set Replay Marker", "Transport", { key ('/') } },
        { setLoopStartMarker, "Set Loop Marker", "Set Loop Marker", "Transport", { key (',') } },
        { setLoopEndMarker, "Set Loop Marker", "Set Loop Marker", "Transport", { key ('.') } },
        { loopToStart, "Loop To Start", "Set Loop To Start Of Track", "Transport", { key (',', cmd) } },
        { loopToEnd, "Loop To End", "Set Loop To End Of Track", "Transport", { key ('.', cmd) } },
        { autoPlayToggle, "Autoplay On/Off", "Autoplay On/Off", "Transport", { key ('a') } },
        { followToggle, "Follow Transport On/Off", "Follow Transport On/Off", "Transport", { key ('f') } },
        { replayToggle, "Replay On/Off", "Replay Toggle On/Off", "Transport", { key (';') } },
        { loopToggle, "Loop On/Off", "Loop Toggle On/Off", "Transport", { key ('l') } },
        { openFile, "Open File", "Open File", "Transport", { key ('o', cmd) } },
        { showPlaylist, "Playlist", "Show Playlist", "GUI", { key ('q') } },
        { showEQ, "Show EQ", "Show EQ", "GUI", { key ('w') } },
        { showFX, "Show FX", "Show FX", "GUI", { key ('e') } },
        { deck1, "Deck1", "Show Deck 1", "GUI", { key ('1') } },
        { deck2, "Deck2", "Show Deck 2", "GUI", { key ('2') } },
        { deck3, "Deck3", "Show Deck 3", "GUI", { key ('3') } },
        { deck4, "Deck4", "Show Deck 4", "GUI", { key ('4') } },
        { addDeck, "Add Deck", "Add New Deck", "Deck", { key ('d', cmd) } },
        { deleteDeck, "Delete Deck", "Delete Current Deck", "Deck", { key ('d', cmd | shift) } },
        { resetMeters, "Reset Meters", "Reset Meters", "Transport", { key ('r') } },
        { settings, "Settings", "Settings", "System", { key ('s') } },
        { quit, "Quit", "Quit Program", "System", { key ('q', cmd) } },
        { fullScreen, "Full Screen", "Full Screen", "Display", { key ('f', cmd) } },
        { showDebug, "Show Debug", "Show degug", "System", { key ('=', ctrl | alt | cmd) } },
    };

    return commands;
}

bool fillInfo (int id, juce::ApplicationCommandInfo& result)
{
    for (const auto& c : table())
    {
        if (c.id != id)
            continue;

        result.setInfo (c.name, c.description, c.category, 0);
        for (const auto& k : c.keys)
            result.addDefaultKeypress (k.getKeyCode(), k.getModifiers());
        return true;
    }

    return false;
}

} // namespace Marlode::CommandIDs
