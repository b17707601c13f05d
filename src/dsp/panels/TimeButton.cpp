#include "dsp/panels/TimeButton.h"

namespace Marlode
{

TimeButton::TimeButton (const juce::String& text, float factor) : juce::TextButton (text), speedFactor (factor)
{
    setClickingTogglesState (true);
}

} // namespace Marlode
