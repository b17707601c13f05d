#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode::TitleBar
{

/** A window-bar button drawn from a path. It acts on mouse down, as window frames do. Without
    an onClick, a menu button tells its change listeners instead. Message thread. */
class TitleBarButton : public juce::Component,
                       public juce::ChangeBroadcaster
{
public:
    enum Type
    {
        close = 1,
        maximise = 2,
        minimise = 3,
        menu = 4
    };

    explicit TitleBarButton (int buttonType);

    void paint (juce::Graphics&) override;
    void mouseEnter (const juce::MouseEvent&) override;
    void mouseExit (const juce::MouseEvent&) override;
    void mouseDown (const juce::MouseEvent&) override;

    [[nodiscard]] bool isHovered() const noexcept { return hovered; }

    const int buttonType;
    std::function<void()> onClick;

private:
    bool hovered = false;
    juce::Path icon;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TitleBarButton)
};

} // namespace Marlode::TitleBar
