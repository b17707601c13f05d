#include "dsp/EQComponent.h"

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
    g.fillAll (juce::Colour (0xff0f0f0f));
}

} // namespace Marlode
