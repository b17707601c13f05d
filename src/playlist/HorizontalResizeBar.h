#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

/** The thin bar between the playlist's table and its analyse panel. A drag moves the panel's
    left edge: `onMove` receives the pixels moved right since the press. Message thread. */
class HorizontalResizeBar : public juce::Component
{
public:
    HorizontalResizeBar();

    void paint (juce::Graphics&) override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;

    /** Called at the press, so that the owner keeps where the edge was. */
    std::function<void()> onPress;
    std::function<void (int pixelsRight)> onMove;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (HorizontalResizeBar)
};

} // namespace Marlode
