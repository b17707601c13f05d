#include "engine/TrackRenderer.h"

#include <rubberband/RubberBandStretcher.h>

namespace Marlode
{

TrackRenderer::TrackRenderer (juce::AudioFormatReader& reader, Chain chainToUse, const TimeStretcher* liveStretcher, double rate,
                              int samplesPerBlock, bool bypass)
    : source (reader), chain (std::move (chainToUse)), live (liveStretcher), sampleRate (rate),
      blockSize (juce::jmax (1, samplesPerBlock)), bypassFX (bypass)
{
}

TrackRenderer::~TrackRenderer() = default;

void TrackRenderer::setUp()
{
    const auto channels = (int) source.numChannels;

    if (chain.prepare != nullptr)
        chain.prepare (sampleRate, blockSize, channels);

    if (live != nullptr)
    {
        stretch = std::make_unique<TimeStretcher>();
        stretch->copySettingsFrom (*live);
        stretch->prepare (blockSize, channels, sampleRate);
    }
}

bool TrackRenderer::run (juce::AudioFormatWriter& writer)
{
    const auto channels = (int) source.numChannels;
    const auto length = source.lengthInSamples;
    juce::AudioBuffer<float> buffer (channels, blockSize);
    const juce::AudioSourceChannelInfo block (&buffer, 0, blockSize);
    auto* stretcher = stretch != nullptr ? stretch->getStretcher() : nullptr;
    bool written = true;

    const auto write = [&]
    { written = writer.writeFromFloatArrays (buffer.getArrayOfReadPointers(), channels, blockSize) && written; };

    for (juce::int64 position = 0; position < length && ! stopping.load (std::memory_order_relaxed); position += blockSize)
    {
        progress.store ((double) position / (double) length, std::memory_order_relaxed);
        source.read (&buffer, 0, blockSize, position, true, true);

        if (stretcher != nullptr)
        {
            stretcher->process (buffer.getArrayOfReadPointers(), (size_t) blockSize, position >= length - blockSize);

            if (stretcher->available() < blockSize)
                continue;

            stretcher->retrieve (buffer.getArrayOfWritePointers(), (size_t) blockSize);
        }

        if (! bypassFX && chain.process != nullptr)
            chain.process (block);

        write();
    }

    // The stretcher's tail, a whole block each; past what it gives, silence rather than the
    // block before.
    while (stretcher != nullptr && ! stopping.load (std::memory_order_relaxed) && stretcher->available() > 0)
    {
        const auto got =
            (int) stretcher->retrieve (buffer.getArrayOfWritePointers(), (size_t) juce::jmin (stretcher->available(), blockSize));
        buffer.clear (got, blockSize - got);
        write();
    }

    progress.store (1.0, std::memory_order_relaxed);
    return written;
}

} // namespace Marlode
