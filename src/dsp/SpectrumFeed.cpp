#include "SpectrumFeed.h"

namespace Marlode
{

void SpectrumFeed::prepare (double newSampleRate, int maximumBlockSize)
{
    mono.setSize (1, juce::jmax (1, maximumBlockSize));
    sampleRate.store (newSampleRate, std::memory_order_relaxed);
    fifo.fill (0.0f);
    fifoIndex = 0;
    frame.fill (0.0f);
    frameReady.store (false, std::memory_order_release);
}

void SpectrumFeed::push (const juce::AudioSourceChannelInfo& info) noexcept
{
    const auto channels = info.buffer != nullptr ? info.buffer->getNumChannels() : 0;
    const auto capacity = mono.getNumSamples();

    if (channels == 0 || capacity == 0 || info.startSample < 0)
        return;

    // Never past the buffer's end, whatever the block claims.
    const auto numSamples = juce::jmin (info.numSamples, info.buffer->getNumSamples() - info.startSample);
    const auto gain = 1.0f / (float) channels;

    for (int done = 0; done < numSamples;)
    {
        const auto piece = juce::jmin (capacity, numSamples - done);
        const auto start = info.startSample + done;
        auto* out = mono.getWritePointer (0);

        juce::FloatVectorOperations::copyWithMultiply (out, info.buffer->getReadPointer (0, start), gain, piece);
        for (int c = 1; c < channels; ++c)
            juce::FloatVectorOperations::addWithMultiply (out, info.buffer->getReadPointer (c, start), gain, piece);

        collect (out, piece);
        done += piece;
    }
}

void SpectrumFeed::collect (const float* samples, int count) noexcept
{
    while (count > 0)
    {
        const auto n = juce::jmin (count, frameSize - fifoIndex);
        std::copy (samples, samples + n, fifo.begin() + fifoIndex);
        fifoIndex += n;
        samples += n;
        count -= n;

        if (fifoIndex == frameSize)
        {
            // Acquire: the display's last reads of the frame happen before this overwrites it.
            if (! frameReady.load (std::memory_order_acquire))
            {
                std::copy (fifo.begin(), fifo.end(), frame.begin());
                std::fill (frame.begin() + frameSize, frame.end(), 0.0f);
                frameReady.store (true, std::memory_order_release);
            }

            fifoIndex = 0;
        }
    }
}

float* SpectrumFeed::takeFrame() noexcept
{
    return frameReady.load (std::memory_order_acquire) ? frame.data() : nullptr;
}

void SpectrumFeed::releaseFrame() noexcept
{
    frameReady.store (false, std::memory_order_release);
}

} // namespace Marlode
