#include "dsp/panels/DeckFXWindow.h"

namespace Marlode
{

DeckFXWindow::DeckFXWindow (juce::Component* time, std::function<bool()> deckIsPlaying)
    : DesktopWindowComponent ("FX", { 0, 0, 1000, 290 }, nullptr), limiter (std::move (deckIsPlaying)), timeSection (time)
{
    // It lives inside the deck's upper panel, under the deck's own panel buttons.
    hasTitleBar = false;

    layoutBox.addItemList ({ "Horizontal", "Vertical" }, 1);
    layoutBox.setSelectedId (1, juce::dontSendNotification);
    layoutBox.onChange = [this] { layoutContent(); };
    addAndMakeVisible (layoutBox);

    if (timeSection != nullptr)
        addAndMakeVisible (timeSection);
    addAndMakeVisible (mono);
    addAndMakeVisible (limiter);
}

void DeckFXWindow::setLandscape (bool landscape)
{
    layoutBox.setSelectedId (landscape ? 1 : 2, juce::sendNotificationSync);
}

void DeckFXWindow::getState (DeckState& s) const
{
    s.isLandscape = isLandscape();
    limiter.getState (s);
    mono.getState (s);
}

void DeckFXWindow::setState (const DeckState& s)
{
    if (! s.isLandscape)
        setLandscape (false);

    limiter.setState (s);
    mono.setState (s);
}

void DeckFXWindow::layoutContent()
{
    auto area = getContentBounds();
    layoutBox.setBounds (area.removeFromTop (juce::jmin (area.getHeight(), 35)).withSizeKeepingCentre (100, 25));

    juce::Array<juce::Component*> sections;
    for (auto* c : { timeSection, static_cast<juce::Component*> (&mono), static_cast<juce::Component*> (&limiter) })
        if (c != nullptr)
            sections.add (c);

    // Each section a third of the space, 10 pixels apart.
    const auto landscape = isLandscape();
    const auto share = (landscape ? area.getWidth() : area.getHeight()) / 3;
    for (auto* c : sections)
        c->setBounds ((landscape ? area.removeFromLeft (share) : area.removeFromTop (share)).reduced (5));
}

} // namespace Marlode
