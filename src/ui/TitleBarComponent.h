#pragma once

#include "ui/TitleBarButton.h"

#include <functional>

namespace Marlode::TitleBar
{

//==============================================================================
/**
    The main window's own bar: the menu button at the left, the window's name in the middle,
    close, maximise and minimise at the right; dragging it moves the window. The window is the
    bar's top-level component. Message thread.
*/
class TitleBarComponent : public juce::Component,
                          public juce::ChangeListener
{
public:
    explicit TitleBarComponent (const juce::String& titleText);
    ~TitleBarComponent() override;

    void paint (juce::Graphics&) override;
    void resized() override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;
    void mouseDoubleClick (const juce::MouseEvent&) override;
    void changeListenerCallback (juce::ChangeBroadcaster*) override;

    /** The main menu, made anew each time it opens. */
    [[nodiscard]] static juce::PopupMenu createMainMenu();

    /** Maximised to the user area of the display it overlaps most, or back to restoreBounds. */
    void toggleMaximised();

    /** Chosen menu id, from the menu's asynchronous callback. */
    std::function<void (int)> onMenuItem;
    /** The menu closed without a choice (Escape or a click elsewhere). */
    std::function<void()> onMenuDismissed;
    std::function<void()> onCloseClicked;

    TitleBarButton closeButton { TitleBarButton::close }, minimiseButton { TitleBarButton::minimise },
        maximiseButton { TitleBarButton::maximise }, menuButton { TitleBarButton::menu };

    juce::Rectangle<int> restoreBounds;
    juce::String title;
    bool isActive = true;

    void setActive (bool shouldBeActive);

private:
    [[nodiscard]] juce::Component* window() { return getTopLevelComponent(); }

    juce::ComponentDragger dragger;

    JUCE_DECLARE_WEAK_REFERENCEABLE (TitleBarComponent)
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TitleBarComponent)
};

} // namespace Marlode::TitleBar
