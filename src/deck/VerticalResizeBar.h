#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

/** The drag bar between a deck's upper and lower panels. While dragged it reports the offset in
    pixels from where the drag began; 0 when the drag ends. Message thread. */
class VerticalResizeBar : public juce::Component
{
public:
    VerticalResizeBar();

    void paint (juce::Graphics&) override;
    void mouseDrag (const juce::MouseEvent&) override;
    void mouseUp (const juce::MouseEvent&) override;

    std::function<void (int dragOffset)> onDrag;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VerticalResizeBar)
};

} // namespace Marlode
