#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/** The equaliser plot's grid, scale and response curve, above the spectrum and below the band
    points; it takes no clicks. Message thread. */
class EQCompDrawingLayer : public juce::Component
{
public:
    /** Both belong to the editor, which lays out the plot and computes the curve. */
    EQCompDrawingLayer (const juce::Rectangle<int>& plot, const juce::Path& curve);

    void paint (juce::Graphics&) override;

private:
    const juce::Rectangle<int>& plot;
    const juce::Path& curve;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQCompDrawingLayer)
};

} // namespace Marlode
