#pragma once

#include "ui/TitleBarButton.h"

namespace Marlode::TitleBar
{

/** The small bar of a tool window: its title, a close button, and dragging of the window. */
class PopUpTitleBarComponent : public juce::Component
{
public:
    PopUpTitleBarComponent (juce::Component& windowToDrag, const juce::String& titleText);

    void paint (juce::Graphics&) override;
    void resized() override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;

    void setActive (bool shouldBeActive);

    std::function<void()> onCloseClicked;
    TitleBarButton closeButton { TitleBarButton::close };

private:
    juce::ComponentDragger dragger;
    juce::Component& window;
    juce::String title;
    bool isActive = true;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PopUpTitleBarComponent)
};

} // namespace Marlode::TitleBar
