#include "ui/TitleBarComponent.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode::TitleBar
{

namespace
{
    constexpr int titleAreaWidth = 150;
}

TitleBarComponent::TitleBarComponent (const juce::String& titleText) : title (titleText)
{
    closeButton.onClick = [this]
    {
        if (onCloseClicked)
            onCloseClicked();
    };
    maximiseButton.onClick = [this] { toggleMaximised(); };
    minimiseButton.onClick = [this]
    {
        if (auto* w = dynamic_cast<juce::ResizableWindow*> (window()))
            w->setMinimised (true);
        else if (auto* peer = window()->getPeer())
            peer->setMinimised (true);
    };

    // Without an onClick the menu button tells its change listeners.
    menuButton.addChangeListener (this);

    for (auto* b : { &closeButton, &minimiseButton, &maximiseButton, &menuButton })
        addAndMakeVisible (b);
}

TitleBarComponent::~TitleBarComponent()
{
    menuButton.removeChangeListener (this);
}

//==============================================================================
juce::PopupMenu TitleBarComponent::createMainMenu()
{
    struct Entry
    {
        const char* subMenu; // null for the plain items after the sub-menus
        const char* text;
        int id;
    };

    static constexpr Entry entries[] = {
        { "Open", "Open Track(s)", 1 },
        { "Open", "Open Folder", 2 },
        { "Open", "Open Playlist", 3 },
        { "Decks", "Add New Deck", 13 },
        { "Decks", "Delete Current Deck", 14 },
        { "Decks", "Delete All Decks", 15 },
        { "Help", "Quick Start", 8 },
        { "Help", "Shortcut keys", 9 },
        { nullptr, "Save Playlist", 4 },
        { nullptr, "Export Audio", 5 },
        { nullptr, "Settings", 7 },
        { nullptr, "Reset Display", 6 },
        { nullptr, "Check for Updates", 17 },
        { nullptr, "About", 10 },
        { nullptr, "Exit", 12 },
    };

    juce::PopupMenu menu;

    for (auto* name : { "Open", "Decks", "Help" })
    {
        juce::PopupMenu sub;
        for (const auto& e : entries)
            if (e.subMenu != nullptr && std::strcmp (e.subMenu, name) == 0)
                sub.addItem (e.id, e.text);
        menu.addSubMenu (name, sub);
    }

    for (const auto& e : entries)
        if (e.subMenu == nullptr)
            menu.addItem (e.id, e.text);

    return menu;
}

void TitleBarComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    if (source != &menuButton)
        return;

    juce::WeakReference<TitleBarComponent> weak (this);

    createMainMenu().showMenuAsync (juce::PopupMenu::Options().withTargetComponent (&menuButton),
                                    [weak] (int result)
                                    {
                                        if (weak == nullptr)
                                            return;

                                        if (result > 0)
                                        {
                                            if (weak->onMenuItem)
                                                weak->onMenuItem (result);
                                        }
                                        else if (weak->onMenuDismissed)
                                        {
                                            weak->onMenuDismissed();
                                        }
                                    });
}

//==============================================================================
void TitleBarComponent::toggleMaximised()
{
    auto* w = window();
    if (w == nullptr)
        return;

    const auto bounds = w->getBounds();
    const juce::Displays::Display* best = nullptr;
    int bestArea = -1;

    // Ties go to the later display, as the window manager's own placement does.
    for (const auto& display : juce::Desktop::getInstance().getDisplays().displays)
    {
        const auto overlap = display.userArea.getIntersection (bounds);
        const auto area = overlap.getWidth() * overlap.getHeight();

        if (area >= bestArea)
        {
            bestArea = area;
            best = &display;
        }
    }

    if (best == nullptr)
        return;

    if (bounds == best->userArea)
    {
        if (restoreBounds != juce::Rectangle<int>())
            w->setBounds (restoreBounds);
        return;
    }

    restoreBounds = bounds;
    w->setBounds (best->userArea);
}

void TitleBarComponent::setActive (bool shouldBeActive)
{
    if (isActive != shouldBeActive)
    {
        isActive = shouldBeActive;
        repaint();
    }
}

//==============================================================================
void TitleBarComponent::paint (juce::Graphics& g)
{
    if (isActive)
        g.fillAll (backgroundColour);

    g.setColour (isActive ? textColour : textColour.withAlpha (0.5f));
    g.setFont ((float) getHeight() * 0.6f);
    g.drawText (title, getLocalBounds().reduced (titleAreaWidth, 0), juce::Justification::centred, true);
}

void TitleBarComponent::resized()
{
    const auto w = getWidth(), h = getHeight();
    closeButton.setBounds (w - 2 * h, 0, 2 * h, h);
    maximiseButton.setBounds (w - 4 * h, 0, 2 * h, h);
    minimiseButton.setBounds (w - 6 * h, 0, 2 * h, h);
    menuButton.setBounds (0, 0, 2 * h, h);
}

void TitleBarComponent::mouseDown (const juce::MouseEvent& e)
{
    if (auto* w = window())
    {
        dragger.startDraggingComponent (w, e.getEventRelativeTo (w));
    }
}

void TitleBarComponent::mouseDrag (const juce::MouseEvent& e)
{
    if (auto* w = window())
        dragger.dragComponent (w, e.getEventRelativeTo (w), nullptr);
}

void TitleBarComponent::mouseDoubleClick (const juce::MouseEvent&)
{
    toggleMaximised();
}

} // namespace Marlode::TitleBar
