#include "ui/WelcomeComponent.h"

namespace Marlode
{

WelcomeComponent::WelcomeComponent (StoredSettings& stored, PopupDisplayComponent*& slot)
    : PopupDisplayComponent (600, 700, slot), settings (stored)
{
    setTitle ("Welcome");
    header.setText ("Thank you for installing Marlode!", juce::dontSendNotification);
    header.setFont (juce::Font (26.0f, juce::Font::bold));
    header.setJustificationType (juce::Justification::centred);

    text.setMultiLine (true);
    text.setReadOnly (true);
    text.setCaretVisible (false);
    text.setWantsKeyboardFocus (false); // Escape stays the panel's
    text.setText ("Marlode plays one track at a time through up to four decks and measures what it plays.\n\n"
                  "To begin, drop audio files or a folder on the playlist, or use the menu at the top left: "
                  "\"Open\" > \"Open Track(s)\". Double-click a row or press Enter to load it, and Space to play "
                  "or pause.\n\n"
                  "Each deck has input and output meters (peak, true peak, RMS and EBU R128 loudness; click a "
                  "meter's title to choose), an equaliser over a live spectrum (\"Deck EQ\", or W), time stretch, "
                  "mono, crossover and mid/side listening and a limiter (\"FX\", or E).\n\n"
                  "Select rows and press \"Analyse\" in the \"Analysis\" panel to measure whole files. "
                  "\"Match\" in the master strip plays every deck at the same loudness, \"Preview at\" plays a "
                  "track as a streaming service would, and \"Blind test\" compares two decks without telling "
                  "you which is which.\n\n"
                  "Ctrl+D adds a deck; the number keys 1 to 4 switch between them. \"Help\" > \"Shortcut keys\" "
                  "lists every key.",
                  false);

    dontShowAgain.onClick = [this] { settings.setBool (StoredSettings::showWelcome, ! dontShowAgain.getToggleState()); };
    closeWelcome.onClick = [this] { closeButton.onClick(); };

    for (auto* c : std::initializer_list<juce::Component*> { &header, &text, &dontShowAgain, &closeWelcome })
        addAndMakeVisible (c);
}

void WelcomeComponent::showIfWanted()
{
    dontShowAgain.setToggleState (! settings.getBool (StoredSettings::showWelcome, true), juce::dontSendNotification);

    if (settings.getBool (StoredSettings::showWelcome, true))
        show();
}

void WelcomeComponent::resized()
{
    PopupDisplayComponent::resized();
    header.setBounds (boxBounds.getX() + 100, boxBounds.getY() + 115, 400, 60);

    auto area = boxBounds.reduced (30, 20).withTop (header.getBottom() + 10);
    closeWelcome.setBounds (area.removeFromBottom (34).withSizeKeepingCentre (150, 30));
    dontShowAgain.setBounds (area.removeFromBottom (34).withSizeKeepingCentre (180, 26));
    text.setBounds (area.withTrimmedBottom (10));
}

} // namespace Marlode
