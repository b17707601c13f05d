#include "waveform/ThumbnailLoader.h"
#include "engine/AudioFileGuard.h"

namespace Marlode
{

namespace
{
    // The longest file taken, in samples per channel: 27 hours at 44.1 kHz. A header that
    // claims more would make the thumbnail reserve more memory than any real track needs.
    constexpr juce::int64 longestFileSamples = juce::int64 (1) << 32;
}

ThumbnailLoader::ThumbnailLoader (juce::AudioFormatManager& formatsToUse, juce::AudioThumbnail& thumbnailToFill,
                                  juce::AudioThumbnailCache& cacheToUse)
    : juce::Thread ("Thumbnail Reader"), formats (formatsToUse), thumbnail (thumbnailToFill), cache (cacheToUse)
{
}

ThumbnailLoader::~ThumbnailLoader()
{
    stop();
}

std::unique_ptr<juce::AudioFormatReader> ThumbnailLoader::openReader (const juce::File& file) const
{
    auto opened = AudioFileGuard::createReader (formats, file);

    if (opened == nullptr || opened->sampleRate <= 0.0 || opened->numChannels < 1 || opened->numChannels > 2
        || opened->lengthInSamples <= 0 || opened->lengthInSamples > longestFileSamples)
        return {};

    return opened;
}

void ThumbnailLoader::stop()
{
    // Waits for the block being read: a block is a few milliseconds, and the thread must let go
    // of the thumbnail before anything else changes it.
    signalThreadShouldExit();
    waitForThreadToExit (-1);
    cancelPendingUpdate();
}

void ThumbnailLoader::clear()
{
    stop();
    reader.reset();
    complete = false;
    thumbnail.clear();
}

bool ThumbnailLoader::load (const juce::File& file)
{
    clear();
    reader = openReader (file);

    if (reader == nullptr)
        return false;

    hash = (file.getFullPathName() + "|" + juce::String (file.getSize()) + "|"
            + juce::String (file.getLastModificationTime().toMilliseconds()))
               .hashCode64();

    // A file seen before is still in the cache: its levels come back at once.
    if (cache.loadThumb (thumbnail, hash) && thumbnail.isFullyLoaded())
    {
        attachReader();
        return true;
    }

    thumbnail.reset ((int) reader->numChannels, reader->sampleRate, reader->lengthInSamples);
    startThread();
    return true;
}

void ThumbnailLoader::run()
{
    const auto length = reader->lengthInSamples;
    juce::AudioBuffer<float> block ((int) reader->numChannels, blockSamples);

    for (juce::int64 start = 0; start < length; start += blockSamples)
    {
        if (threadShouldExit())
            return;

        const auto count = (int) juce::jmin ((juce::int64) blockSamples, length - start);
        reader->read (&block, 0, count, start, true, true);
        thumbnail.addBlock (start, block, 0, count);
    }

    triggerAsyncUpdate();
}

void ThumbnailLoader::handleAsyncUpdate()
{
    cache.storeThumb (thumbnail, hash);
    attachReader();
}

void ThumbnailLoader::attachReader()
{
    // The thumbnail takes the reader for close-up drawing. It finds the levels in the cache
    // under the same hash and doesn't read the file again.
    thumbnail.setReader (reader.release(), hash);
    complete = true;
}

} // namespace Marlode
