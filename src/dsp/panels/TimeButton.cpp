#include "dsp/panels/TimeButton.h"

namespace Marlode
{

TimeButton::TimeButton (const juce::String& label, float factor) : juce::TextButton (label), speedFactor (factor)
{
    setClickingTogglesState (true);
}

} // namespace Marlode
