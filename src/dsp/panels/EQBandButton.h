#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

class EQBand;

//==============================================================================
/**
    A band's point on the equaliser's plot: dragged, it sets the band's frequency (log axis) and
    gain (linear, -24 to +24 dB); Ctrl-drag and the wheel change its Q. It follows the band's
    sliders. Message thread.
*/
class EQBandButton : public juce::Button
{
public:
    /** The plot is shared with the editor, which lays it out. */
    EQBandButton (EQBand&, const juce::Rectangle<int>& plot, std::function<bool()> isVisibleBand);

    /** Centres the button on the band's values. */
    void updatePosition();

    /** Plot x of a frequency, and plot y of a gain, in the editor's coordinates. */
    [[nodiscard]] static float xForFrequency (const juce::Rectangle<int>& plot, double hz) noexcept;
    [[nodiscard]] static float yForGain (const juce::Rectangle<int>& plot, double dB) noexcept;

    static constexpr int size = 22;

    EQBand& band;

    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;
    void mouseWheelMove (const juce::MouseEvent&, const juce::MouseWheelDetails&) override;

private:
    void paintButton (juce::Graphics&, bool highlighted, bool down) override;

    const juce::Rectangle<int>& plot;
    std::function<bool()> isVisibleBand;
    juce::Point<int> startPosition; // the button's position at the press
    float lastY = 0.0f;             // the pointer's y at the last Q step

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQBandButton)
};

} // namespace Marlode
