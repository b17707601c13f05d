#pragma once

#include "ui/TitleBarButton.h"

#include <functional>

namespace Marlode
{

//==============================================================================
/**
    An overlay over the main window: it dims everything and shows a box in the middle. One is up
    at a time: every popup shares the one `activePopup` slot, and showing one closes the popup the
    slot names first. Escape (with no modifier keys) closes it. Message thread.
*/
class PopupDisplayComponent : public juce::Component
{
public:
    PopupDisplayComponent (int boxWidth, int boxHeight, PopupDisplayComponent*& activePopup);
    ~PopupDisplayComponent() override;

    /** Closes whatever popup is up, then shows this one over its parent. */
    void show();

    void paint (juce::Graphics&) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress&) override;

    void setTitle (const juce::String& newTitle);

    /** Where a subclass lays out its content: the box less its title strip. */
    [[nodiscard]] juce::Rectangle<int> getContentBounds() const noexcept { return contentBounds; }
    [[nodiscard]] juce::Rectangle<int> getBoxBounds() const noexcept { return boxBounds; }

    std::function<void()> onClose;

    const int closeButtonSize = 25;
    const float cornerSize = 1.0f;
    const int titleHeight = 30;
    juce::String title;
    TitleBar::TitleBarButton closeButton { TitleBar::TitleBarButton::close };

protected:
    const int boxWidth, boxHeight;
    juce::Rectangle<int> boxBounds, contentBounds;
    PopupDisplayComponent*& activePopup;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PopupDisplayComponent)
};

} // namespace Marlode
