#pragma once

#include "waveform/WaveformTabDraggerListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The small tab of a marker in the lane above the waveform: a square for the replay marker,
    triangles pointing into the loop for its start and end. Dragging it moves the marker. */
class WaveformMarkerTab : public juce::Component
{
public:
    enum Type
    {
        replay = 1,
        loopStart = 2,
        loopEnd = 3
    };

    explicit WaveformMarkerTab (int type);

    void mouseEnter (const juce::MouseEvent&) override;
    void mouseExit (const juce::MouseEvent&) override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;
    void resized() override;
    void paint (juce::Graphics&) override;

    void setPathOffset (float offset);

    const int type;
    WaveformTabDraggerListener* listener = nullptr;

private:
    juce::Path shape;
    juce::Colour colour;
    juce::MouseCursor cursor;
    int dragStartX = 0;
    float pathOffset = 0.0f; // the marker's fractional pixel, so the shape sits on its line
    juce::Rectangle<float> drawArea;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WaveformMarkerTab)
};

} // namespace Marlode
