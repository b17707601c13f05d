#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/** A time stretch preset: a radio button whose speed factor is the playing speed it chooses
    (2 plays twice as fast). Message thread. */
class TimeButton : public juce::TextButton
{
public:
    TimeButton (const juce::String& label, float factor);

    const float speedFactor;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimeButton)
};

} // namespace Marlode
