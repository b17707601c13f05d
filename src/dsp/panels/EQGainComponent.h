#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/** A titled box around one of the equaliser's output controls (its gain, or a deck's pan). */
class EQGainComponent : public juce::Component
{
public:
    EQGainComponent (const juce::String& title, juce::Slider& control);

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    juce::String title;
    juce::Slider& control;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQGainComponent)
};

} // namespace Marlode
