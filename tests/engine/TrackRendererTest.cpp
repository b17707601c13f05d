#include "dsp/LimiterProcessor.h"
#include "dsp/ParametricEqualiser.h"
#include "engine/TrackRenderer.h"
#include "support/EngineDeck.h"
#include "support/EqBand.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr int block = 512;

// The file a render writes, read back, and its bit depth's format tag.
struct Rendered
{
    juce::AudioBuffer<float> audio;
    bool floatingPoint = false;
};

Rendered render (const juce::File& source, TrackRenderer::Chain chain, const TimeStretcher* stretch, int bits,
                 bool bypass = false, bool stopEarly = false)
{
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (source.createInputStream().release(), true));
    TrackRenderer renderer (*reader, std::move (chain), stretch, reader->sampleRate, block, bypass);
    renderer.setUp();

    juce::MemoryBlock bytes;
    {
        std::unique_ptr<juce::AudioFormatWriter> writer (wav.createWriterFor (
            new juce::MemoryOutputStream (bytes, false), reader->sampleRate, reader->numChannels, bits, {}, 0));
        if (stopEarly)
            renderer.stop();
        EXPECT_TRUE (renderer.run (*writer));
    }

    std::unique_ptr<juce::AudioFormatReader> back (wav.createReaderFor (new juce::MemoryInputStream (bytes, false), true));
    Rendered r;
    r.audio.setSize ((int) back->numChannels, (int) back->lengthInSamples);
    back->read (&r.audio, 0, (int) back->lengthInSamples, 0, true, true);
    r.floatingPoint = back->usesFloatingPointData;
    return r;
}

int wholeBlocks (int samples)
{
    return (samples + block - 1) / block * block;
}
}

TEST (TrackRenderer, ANeutralRenderIsTheFileSampleForSampleInWholeBlocks)
{
    TempFolder temp;
    const int length = 44100 * 2 + 77;
    for (const auto channels : { 2, 1 })
    {
        // The writer's own conversion of the file's samples is the reference: its float to
        // 24-bit scale is not the reader's inverse, so a 24-bit file read and written again
        // moves by a step here and there.
        const auto source = writeWav (temp.file ("in" + juce::String (channels) + ".wav"), 44100.0, channels, length, noise, 24);
        const auto original = readAll (writeWav (
            temp.file ("again.wav"), 44100.0, channels, length,
            [read = readAll (source)] (int c, int i) { return read.getSample (c, i); }, 24));
        const auto out = render (source, {}, nullptr, 24);

        ASSERT_EQ (out.audio.getNumChannels(), channels) << "the reader's channel count";
        ASSERT_EQ (out.audio.getNumSamples(), wholeBlocks (length));
        EXPECT_FALSE (out.floatingPoint);
        for (int c = 0; c < channels; ++c)
        {
            EXPECT_EQ (std::memcmp (out.audio.getReadPointer (c), original.getReadPointer (c), sizeof (float) * (size_t) length),
                       0);
            EXPECT_EQ (out.audio.getMagnitude (c, length, wholeBlocks (length) - length), 0.0f);
        }
    }

    const auto source = writeWav (temp.file ("float.wav"), 44100.0, 2, 4000, noise, 24);
    EXPECT_TRUE (render (source, {}, nullptr, 32).floatingPoint) << "32 bits are written as floating point";
    EXPECT_LT (render (source, {}, nullptr, 24, false, true).audio.getNumSamples(), block) << "stopped before the first block";
}

// The render runs the same stages as the deck's block: what it writes is, block for block, what
// the deck plays through them.
TEST (TrackRenderer, TheRenderedFileIsWhatTheDeckPlaysThroughTheSameStages)
{
    TempFolder temp;
    const int length = block * 60;
    const auto source = writeWav (temp.file ("in.wav"), 44100.0, 2, length, noise, 24);

    ParametricEqualiser eq (true);
    LimiterProcessor limiter;
    eq.addBand (eqBand (EQBandValues::peak, 2000.0, 9.0, 2.0));
    limiter.setLimiterOn (true);
    limiter.setThresholdDb (-8.0);
    const TrackRenderer::Chain chain { [&] (double rate, int size, int channels)
                                       {
                                           eq.prepare (rate, size, channels);
                                           limiter.prepare (rate, size, channels);
                                       },
                                       [&] (const juce::AudioSourceChannelInfo& info)
                                       {
                                           eq.process (info);
                                           limiter.process (info);
                                       } };

    EngineDeck deck (readAll (source));
    deck.engine.setStages (&eq, nullptr, &limiter);
    deck.engine.prepare (block, 44100.0);
    deck.play();
    juce::AudioBuffer<float> live (2, length);
    // The whole track in the read-ahead first, so no block waits for the disk.
    ASSERT_TRUE (pumpUntil ([&] { return deck.engine.transport.getNumBufferedSamples() >= length; }, 3000));
    for (int b = 0; b < length / block; ++b)
        deck.engine.process ({ &live, b * block, block });
    deck.engine.setStages (nullptr, nullptr, nullptr);

    const auto rendered = render (source, chain, nullptr, 32);
    for (int c = 0; c < 2; ++c)
        EXPECT_EQ (std::memcmp (rendered.audio.getReadPointer (c), live.getReadPointer (c), sizeof (float) * (size_t) length), 0);
    EXPECT_LT (rendered.audio.getMagnitude (0, length), 0.5f) << "the limiter took the boosted peaks down";

    // Bypassed, the stages are left out.
    EXPECT_EQ (render (source, chain, nullptr, 32, true).audio.getMagnitude (0, length),
               readAll (source).getMagnitude (0, length));
}

TEST (TrackRenderer, AStretchLengthensTheFileByItsRatioBypassedOrNot)
{
    TempFolder temp;
    const int length = 44100 * 3;
    const auto source = writeWav (
        temp.file ("tone.wav"), 44100.0, 2, length, [] (int, int i) { return 0.5f * (float) std::sin (0.0627 * i); }, 24);
    TimeStretcher live;
    live.setTimeRatio (1.5);
    const TrackRenderer::Chain halve { {}, [] (const juce::AudioSourceChannelInfo& info) { info.buffer->applyGain (0.5f); } };

    for (const bool bypass : { false, true })
    {
        const auto out = render (source, halve, &live, 24, bypass);
        EXPECT_NEAR (out.audio.getNumSamples(), 1.5 * length, block) << "bypass " << bypass;
        EXPECT_NEAR (out.audio.getMagnitude (0, length / 2, block * 20), bypass ? 0.5f : 0.25f, 0.05f);
    }
}
