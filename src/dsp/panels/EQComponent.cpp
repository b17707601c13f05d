#include "dsp/panels/EQComponent.h"

namespace Marlode
{

void EQComponent::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff0f0f0f));
}

} // namespace Marlode
