#include "ui/HelpWindow.h"

namespace Marlode
{

HelpDocumentWindowContent::HelpDocumentWindowContent()
{
    quickStart.setMultiLine (true);
    quickStart.setReadOnly (true);
    quickStart.setCaretVisible (false);
    quickStart.setText ("Quick start\n\n"
                        "1. Drop audio files or a folder on the playlist, or use the menu: Open > Open Track(s).\n"
                        "2. Double-click a row (or Enter) to load it; Space plays and pauses, Enter on the waveform stops.\n"
                        "3. Click a meter's title to choose what it shows: peak, true peak, RMS or loudness (LUFS).\n"
                        "4. \"Deck EQ\" (W) and \"FX\" (E) open the equaliser, time stretch, mono and limiter.\n"
                        "5. \"Analysis\" shows the measured loudness of the selected rows; \"Analyse\" measures them.\n"
                        "6. Ctrl+D adds a deck; 1 to 4 switch decks; \"Match\" plays every deck at one loudness.\n"
                        "7. Menu > Export Audio renders the loaded track through its deck's settings to a WAV file.",
                        false);
    addAndMakeVisible (quickStart);
    addAndMakeVisible (shortcutKeys);
}

void HelpDocumentWindowContent::resized()
{
    auto area = getLocalBounds().reduced (6);
    quickStart.setBounds (area.removeFromTop (150));
    area.removeFromTop (6);
    shortcutKeys.setBounds (area);
}

HelpWindow::HelpWindow() : DesktopWindowComponent ("Help", { 0, 0, 760, 640 }, nullptr)
{
    addAndMakeVisible (content);
}

void HelpWindow::showSection (bool keys)
{
    if (! isPlaced())
        centreWithSize (getWidth(), getHeight());

    showWindow();
    (keys ? static_cast<juce::Component&> (content.shortcutKeys) : content.quickStart).grabKeyboardFocus();
}

void HelpWindow::layoutContent()
{
    content.setBounds (getContentBounds());
}

} // namespace Marlode
