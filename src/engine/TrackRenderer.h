#pragma once

#include "dsp/TimeStretcher.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <atomic>
#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    Renders a whole track through a deck's chain into a writer, with no device: the file's
    samples as read, then the stretch and pitch (a private stretcher given the live one's
    settings, so the deck's own is never touched), then the deck's equaliser and effects unless
    bypassed. No rate conversion and no dither: the rate only goes to the chain's design and the
    file's header, and the writer converts to its bit depth.

    Made and set up on the message thread; run on a worker while nothing else uses the chain
    (the deck is stopped); progress and stop may be used from any thread.
*/
class TrackRenderer
{
public:
    /** How the deck's chain is driven: prepared for the render (the rate, block size and channel
        count it is given), then run block by block in place. */
    struct Chain
    {
        std::function<void (double sampleRate, int blockSize, int numChannels)> prepare;
        std::function<void (const juce::AudioSourceChannelInfo&)> process;
    };

    /** `live` is the deck's stretcher when its switch is on, null otherwise. */
    TrackRenderer (juce::AudioFormatReader& source, Chain, const TimeStretcher* live, double sampleRate, int blockSize,
                   bool bypassFX);
    ~TrackRenderer();

    /** Prepares the chain and the private stretcher; message thread, before run(). */
    void setUp();

    /** Renders into `writer` until the end or until stop() is called; returns false on a write
        that failed. */
    bool run (juce::AudioFormatWriter& writer);

    /** Any thread: the render ends at its next block. */
    void stop() noexcept { stopping.store (true, std::memory_order_relaxed); }

    /** Any thread: 0 to 1. */
    [[nodiscard]] double getProgress() const noexcept { return progress.load (std::memory_order_relaxed); }

private:
    juce::AudioFormatReader& source;
    Chain chain;
    const TimeStretcher* live;
    const double sampleRate;
    const int blockSize;
    const bool bypassFX;
    std::unique_ptr<TimeStretcher> stretch;

    // The worker writes it, anyone reads it.
    std::atomic<double> progress { 0.0 };
    // Written by whoever stops the render, read by the worker.
    std::atomic<bool> stopping { false };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackRenderer)
};

} // namespace Marlode
