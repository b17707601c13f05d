#include "dsp/DeckEffects.h"

namespace Marlode
{

void DeckEffects::prepare (double sampleRate, int maximumBlockSize, int numChannels)
{
    const juce::dsp::ProcessSpec spec { sampleRate, (juce::uint32) juce::jmax (1, maximumBlockSize),
                                        (juce::uint32) juce::jmax (1, numChannels) };
    crossoverFilter.prepare (sampleRate);

    capacity = (int) spec.maximumBlockSize;
    for (auto* b : { &monoBuffer, &midBuffer, &sideBuffer })
    {
        b->setSize (1, capacity);
        b->clear();
    }

    safetyLimiter.prepare (spec);
    safetyLimiter.setRelease (1.0f);
}

void DeckEffects::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    auto* buffer = info.buffer;
    if (buffer == nullptr || capacity == 0 || ! monoOn.load (std::memory_order_relaxed) || buffer->getNumChannels() <= 1)
        return;

    // The work buffers are sized at prepare; a longer block is taken in pieces.
    for (int done = 0; done < info.numSamples; done += capacity)
        processRegion (*buffer, info.startSample + done, juce::jmin (capacity, info.numSamples - done));
}

void DeckEffects::processRegion (juce::AudioBuffer<float>& buffer, int start, int n) noexcept
{
    // Read again: the switch may have moved since the block began.
    if (! monoOn.load (std::memory_order_relaxed))
        return;

    if (xOver.load (std::memory_order_relaxed))
        crossover (buffer, start, n);
    else if (midSide.load (std::memory_order_relaxed))
        midAndSide (buffer, start, n);
    else
    {
        sumToMono (buffer, start, n);
        for (int ch = 0; ch < buffer.getNumChannels(); ++ch)
            buffer.copyFrom (ch, start, monoBuffer, 0, 0, n);
    }
}

void DeckEffects::sumToMono (juce::AudioBuffer<float>& buffer, int start, int n) noexcept
{
    const auto channelGain = 1.0f / (float) buffer.getNumChannels();
    auto* mono = monoBuffer.getWritePointer (0);
    juce::FloatVectorOperations::multiply (mono, buffer.getReadPointer (0, start), channelGain, n);
    for (int ch = 1; ch < buffer.getNumChannels(); ++ch)
        juce::FloatVectorOperations::addWithMultiply (mono, buffer.getReadPointer (ch, start), channelGain, n);
}

void DeckEffects::crossover (juce::AudioBuffer<float>& buffer, int start, int n) noexcept
{
    sumToMono (buffer, start, n);

    // The cutoff is set every block; the filters keep their state.
    crossoverFilter.setCutoffFrequency (xOverFreq.load (std::memory_order_relaxed));
    crossoverFilter.process (buffer.getWritePointer (0, start), buffer.getWritePointer (1, start), monoBuffer.getWritePointer (0),
                             n);

    auto block = juce::dsp::AudioBlock<float> (buffer).getSubBlock ((size_t) start, (size_t) n);

    if (soloLow.load (std::memory_order_relaxed))
        block.clear();

    if (! soloHigh.load (std::memory_order_relaxed))
        for (int ch = 0; ch < buffer.getNumChannels(); ++ch)
            buffer.addFrom (ch, start, monoBuffer, 0, 0, n);

    safetyLimiter.setThreshold (0.0f);
    safetyLimiter.process (juce::dsp::ProcessContextReplacing<float> (block));
}

void DeckEffects::midAndSide (juce::AudioBuffer<float>& buffer, int start, int n) noexcept
{
    auto* mid = midBuffer.getWritePointer (0);
    auto* side = sideBuffer.getWritePointer (0);
    juce::FloatVectorOperations::clear (mid, n);
    juce::FloatVectorOperations::clear (side, n);
    const auto* left = buffer.getReadPointer (0, start);
    const auto* right = buffer.getReadPointer (1, start);

    if (! sideSolo.load (std::memory_order_relaxed))
    {
        juce::FloatVectorOperations::add (mid, left, right, n);
        if (const auto g = midGain.load (std::memory_order_relaxed); g < 1.0f)
            juce::FloatVectorOperations::multiply (mid, g, n);
    }

    if (! midSolo.load (std::memory_order_relaxed))
    {
        juce::FloatVectorOperations::subtract (side, left, right, n);
        if (const auto g = sideGain.load (std::memory_order_relaxed); g < 1.0f)
            juce::FloatVectorOperations::multiply (side, g, n);
    }

    // Channels past the first two fall silent.
    for (int ch = 0; ch < buffer.getNumChannels(); ++ch)
        juce::FloatVectorOperations::clear (buffer.getWritePointer (ch, start), n);

    auto* l = buffer.getWritePointer (0, start);
    auto* r = buffer.getWritePointer (1, start);
    juce::FloatVectorOperations::addWithMultiply (l, mid, 0.5f, n);
    juce::FloatVectorOperations::addWithMultiply (l, side, 0.5f, n);
    juce::FloatVectorOperations::addWithMultiply (r, mid, 0.5f, n);
    juce::FloatVectorOperations::addWithMultiply (r, side, -0.5f, n);
}

} // namespace Marlode
