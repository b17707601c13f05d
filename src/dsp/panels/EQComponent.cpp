#include "dsp/panels/EQComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

void EQComponent::paint (juce::Graphics& g)
{
    g.fillAll (sliderBackColour);
}

} // namespace Marlode
