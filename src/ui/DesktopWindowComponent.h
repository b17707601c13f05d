#pragma once

#include "ui/PopUpTitleBarComponent.h"

namespace Marlode
{

//==============================================================================
/**
    A free-standing tool window with its own small title bar, or, given a parent, the same frame
    inside it. Closing (its bar or Escape) takes it off the desktop; the object lives on and can
    be shown again. It is placed once, centred on the parent of the button that opens it.
    Message thread.
*/
class DesktopWindowComponent : public juce::Component
{
public:
    DesktopWindowComponent (const juce::String& title, juce::Rectangle<int> startBounds, juce::Button* openButton);
    ~DesktopWindowComponent() override;

    /** Puts the window on the desktop (unless it has a parent) and shows it. */
    void showWindow();

    /** Takes it off the desktop and off the list of open windows, then calls onClose. */
    void closeWindow();

    /** The window was closed (its bar, Escape or closeWindow). */
    std::function<void()> onClose;

    /** Every tool window that is open, in the order they were opened. */
    static juce::Array<DesktopWindowComponent*>& openDesktopWindows();

    /** Brings every open tool window back, for a main window restored from minimised. */
    static void restoreOpenWindows();

    void paint (juce::Graphics&) override;
    void paintOverChildren (juce::Graphics&) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress&) override;
    void visibilityChanged() override;

    [[nodiscard]] juce::Rectangle<int> getContentBounds() const noexcept { return contentBounds; }
    [[nodiscard]] bool isPlaced() const noexcept { return wasPlaced; }

    TitleBar::PopUpTitleBarComponent titleBar;

protected:
    /** Lays out the content in getContentBounds(); called at the end of resized(). */
    virtual void layoutContent() {}

    bool hasTitleBar = true;

private:
    void placeOnFirstShowing();

    juce::Rectangle<int> contentBounds;
    juce::Button* openButton;
    bool wasPlaced = false;
    bool onDesktop = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DesktopWindowComponent)
};

} // namespace Marlode
