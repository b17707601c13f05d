#pragma once

#include <juce_audio_utils/juce_audio_utils.h>

#include <memory>

namespace Marlode
{

//==============================================================================
/**
    Fills a juce::AudioThumbnail from a file at the speed of reading it.

    The framework's own loader reads one thumbnail sample at a time through a fresh buffer on a
    low-priority time-slice thread that rests a millisecond after every 32768 samples; an hour
    of audio then takes many times as long as reading it. This reads the file in large blocks on
    a thread of its own and hands each block to the thumbnail, which keeps its own lock and
    posts its own change messages, so listeners hear of progress on the message thread as before.

    When the whole file has been read, the finished levels are handed to the thumbnail together
    with a reader of the file (through the thumbnail cache), so that a view zoomed in below one
    thumbnail sample per pixel still draws the file's own samples.

    Message thread, except run() on the loader's thread, which touches only its reader, its
    buffer and the thumbnail's addBlock.
*/
class ThumbnailLoader : private juce::Thread,
                        private juce::AsyncUpdater
{
public:
    ThumbnailLoader (juce::AudioFormatManager&, juce::AudioThumbnail&, juce::AudioThumbnailCache&);
    ~ThumbnailLoader() override;

    /** Stops any load under way, shapes the thumbnail to the file and starts reading it.
        False, with the thumbnail emptied, when the file can't be read. */
    bool load (const juce::File&);

    /** Stops any load under way and empties the thumbnail. */
    void clear();

    /** True once the file has been read whole and the thumbnail holds it with its reader. */
    [[nodiscard]] bool isComplete() const noexcept { return complete; }

    /** Source samples read per block: a whole number of thumbnail samples, so every block fills
        its thumbnail samples exactly, and small enough (half a megabyte in stereo) that the
        levels are taken while the block is still in the processor's cache. */
    static constexpr int blockSamples = 1 << 16;

private:
    void run() override;
    void handleAsyncUpdate() override;
    void attachReader();
    void stop();
    std::unique_ptr<juce::AudioFormatReader> openReader (const juce::File&) const;

    juce::AudioFormatManager& formats;
    juce::AudioThumbnail& thumbnail;
    juce::AudioThumbnailCache& cache;

    // Owned by the loader's thread while it runs; the message thread touches it only when the
    // thread is stopped or has finished.
    std::unique_ptr<juce::AudioFormatReader> reader;
    juce::int64 hash = 0;
    bool complete = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ThumbnailLoader)
};

} // namespace Marlode
