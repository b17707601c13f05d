#include "dsp/EQComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

EQComponent::EQComponent() = default;

void EQComponent::prepare (double sampleRate, int blockSize, int numChannels)
{
    preparedRate = sampleRate;
    preparedBlockSize = blockSize;
    preparedChannels = numChannels;
}

void EQComponent::process (const juce::AudioSourceChannelInfo&) noexcept
{
}

void EQComponent::paint (juce::Graphics& g)
{
    g.fillAll (sliderBackColour);
}

} // namespace Marlode
