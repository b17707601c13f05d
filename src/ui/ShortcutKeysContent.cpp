#include "ui/ShortcutKeysContent.h"

namespace Marlode
{

ShortcutKeysContent::ShortcutKeysContent()
{
    setMultiLine (true);
    setReadOnly (true);
    setCaretVisible (false);
    setFont (juce::Font (juce::Font::getDefaultMonospacedFontName(), 14.0f, juce::Font::plain));

    juce::String text;
    for (const auto& line : lines())
    {
        const auto [what, key] = columns (line);
        text << what.paddedRight (' ', 48) << key << "\n";
    }
    setText (text, false);
}

juce::StringArray ShortcutKeysContent::lines()
{
    // The key words stay as words: Ctrl, Shift and Alt are what this platform's keyboards say.
    return { "Description: Key",
             "Quit program: Ctrl + Q",
             "Close pop-up window: Esc",
             "Settings: S",
             "Set full screen: Ctrl + F",
             "Show Playlist: Q",
             "Show EQ: W",
             "Show FX: E",
             "Add deck: Ctrl + D",
             "Delete current deck: Ctrl + Shift + D",
             "Swap decks 1-4: Num(1-4)",
             "Auto-play: A",
             "Follow transport: F",
             "Replay On: ;",
             "Loop On: L",
             "Open file: Ctrl + O",
             "Playlist select all: Ctrl + A",
             "Play/Pause: Space-bar",
             "Play From Start/Marker: Alt + Space",
             "Volume up/down: - or =",
             "Mute: 0",
             "Pan Left: Ctrl + -",
             "Pan Right: Ctrl + =",
             "Reset Meters: R",
             "Playlist/Waveform keyboard focus: Tab",
             "If playlist focused:",
             "Load selected track: Enter",
             "Playlist selection up/down: up/down key",
             "Delete track from playlist: Delete/Backspace",
             "If waveform focused:",
             "Stop and return to start/replay/loop: Enter",
             "Zoom play cursor: up/down",
             "Scroll waveform left/right: Shift + left/right",
             "Either playlist or waveform:",
             "Skip play cursor left/right: left/right",
             "Jump play cursor left/right: C/V",
             "Previous Track: Z",
             "Next Track: X",
             "Move replay marker: Alt + left/right",
             "Zoom replay marker: Alt + up/down",
             "Set replay marker to playhead: /",
             "Move loop start marker: Ctrl + left/right",
             "Move loop end marker: Ctrl + Shift + left/right",
             "Zoom loop start marker: Ctrl + up/down",
             "Zoom loop end marker: Ctrl + Shift + up/down",
             "Loop marker to start: Ctrl + ,",
             "Loop marker to end: Ctrl + .",
             "Set loop start marker to playhead: ,",
             "Set loop end marker to playhead: ." };
}

std::pair<juce::String, juce::String> ShortcutKeysContent::columns (const juce::String& line)
{
    // The last ": ", since a key may itself be ":" or ";".
    const auto at = line.lastIndexOf (": ");
    if (at < 0)
        return { line, {} };

    return { line.substring (0, at), line.substring (at + 2) };
}

} // namespace Marlode
