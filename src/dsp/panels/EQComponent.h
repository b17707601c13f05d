#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/**
    The parametric equaliser's panel. The filtering is an engine stage (the deck's or the
    master's); until bands exist there is no stage and the audio passes untouched. Message thread.
*/
class EQComponent : public juce::Component
{
public:
    EQComponent() = default;

    void paint (juce::Graphics&) override;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQComponent)
};

} // namespace Marlode
