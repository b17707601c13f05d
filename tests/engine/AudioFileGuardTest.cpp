#include "engine/AudioFileGuard.h"
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"
#include "engine/TrackRenderer.h"
#include "support/HostileFiles.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
/** A reader that only claims. */
struct Claims : juce::AudioFormatReader
{
    Claims (double rate, unsigned channels, juce::int64 frames, unsigned bits) : juce::AudioFormatReader (nullptr, "claims")
    {
        sampleRate = rate;
        numChannels = channels;
        lengthInSamples = frames;
        bitsPerSample = bits;
    }

    bool readSamples (int* const*, int, int, juce::int64, int) override { return false; }
};

juce::String verdict (double rate, unsigned channels, juce::int64 frames, unsigned bits, juce::int64 bytes, bool compressed)
{
    return AudioFileGuard::checkClaims (Claims (rate, channels, frames, bits), bytes, compressed);
}
}

TEST (AudioFileGuard, GenuineFilesOfEveryFormatPassAndReadAsTheFrameworkReadsThem)
{
    TempFolder temp;
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();

    for (const auto& file : writeGenuineAudio (temp.folder))
    {
        ASSERT_TRUE (file.existsAsFile());
        const auto guarded = AudioFileGuard::createReader (formats, file);
        ASSERT_NE (guarded, nullptr) << file.getFileName();
        std::unique_ptr<juce::AudioFormatReader> plain (formats.createReaderFor (file));
        ASSERT_NE (plain, nullptr) << file.getFileName();

        EXPECT_EQ (guarded->lengthInSamples, plain->lengthInSamples) << file.getFileName();
        EXPECT_EQ (guarded->numChannels, plain->numChannels);
        EXPECT_EQ (guarded->sampleRate, plain->sampleRate);

        const auto n = (int) juce::jmin ((juce::int64) 4096, guarded->lengthInSamples);
        juce::AudioBuffer<float> a ((int) guarded->numChannels, n), b ((int) plain->numChannels, n);
        guarded->read (&a, 0, n, 0, true, true);
        plain->read (&b, 0, n, 0, true, true);
        for (int c = 0; c < a.getNumChannels(); ++c)
            for (int i = 0; i < n; ++i)
                ASSERT_EQ (a.getSample (c, i), b.getSample (c, i)) << file.getFileName();

        // Digital silence is what packs most samples into a byte: keep a wide margin to the bound.
        const auto samplesPerByte = (double) guarded->lengthInSamples * guarded->numChannels / (double) file.getSize();
        EXPECT_LT (samplesPerByte * 8.0, (double) AudioFileGuard::maxSamplesPerByte) << file.getFileName();
    }
}

TEST (AudioFileGuard, HostileFilesAreRefusedBeforeAnyReaderSizesFromThemAndTheRestReadMeasureAndExport)
{
    TempFolder temp;
    SharedFormatManager formats;
    int refused = 0;
    const auto corpus = writeHostileAudio (temp.folder);
    EXPECT_GE (corpus.size(), 250u);

    for (const auto& hostile : corpus)
    {
        const auto reader = AudioFileGuard::createReader (formats, hostile.file);
        refused += reader == nullptr ? 1 : 0;

        if (hostile.mustRefuse)
        {
            EXPECT_EQ (reader, nullptr) << hostile.file.getFileName();
        }
        else if (reader != nullptr)
        {
            // Readable up to where it stops: reading, measuring and exporting all it claims gives
            // no fault.
            EXPECT_EQ (AudioFileGuard::checkClaims (*reader, hostile.file.getSize(), true), "");
            juce::AudioBuffer<float> all ((int) reader->numChannels, (int) reader->lengthInSamples);
            reader->read (&all, 0, all.getNumSamples(), 0, true, true);
            const auto measured = TrackAnalysis().analyse (*reader);
            EXPECT_TRUE (std::isfinite (measured.rmsStereo)) << hostile.file.getFileName();

            juce::MemoryBlock exported;
            std::unique_ptr<juce::AudioFormatWriter> writer (juce::WavAudioFormat().createWriterFor (
                new juce::MemoryOutputStream (exported, false), 44100.0, reader->numChannels, 24, {}, 0));
            ASSERT_NE (writer, nullptr) << hostile.file.getFileName();
            TrackRenderer renderer (*reader, {}, nullptr, 44100.0, 512, false);
            renderer.setUp();
            EXPECT_TRUE (renderer.run (*writer)) << hostile.file.getFileName();
        }
    }

    EXPECT_GT (refused, 150);

    // Garbage after a lossless file changes none of its samples.
    for (auto* extension : { "wav", "aiff", "flac" })
    {
        const auto garbled = AudioFileGuard::createReader (formats, temp.file (juce::String ("trailing garbage.") + extension));
        const std::unique_ptr<juce::AudioFormatReader> source (formats.findFormatForFileExtension (extension)->createReaderFor (
            temp.file (juce::String ("source.") + extension + ".src").createInputStream().release(), true));
        ASSERT_NE (garbled, nullptr) << extension;
        ASSERT_NE (source, nullptr) << extension;
        juce::AudioBuffer<float> a (2, 22050), b (2, 22050);
        garbled->read (&a, 0, 22050, 0, true, true);
        source->read (&b, 0, 22050, 0, true, true);
        for (int c = 0; c < 2; ++c)
            EXPECT_EQ (std::memcmp (a.getReadPointer (c), b.getReadPointer (c), 22050 * sizeof (float)), 0) << extension;
    }

    // What the framework's own reader would have taken from the user's 144-byte file.
    std::unique_ptr<juce::AudioFormatReader> plain (formats.createReaderFor (temp.file ("absurd.rf64.wav")));
    ASSERT_NE (plain, nullptr);
    EXPECT_EQ (temp.file ("absurd.rf64.wav").getSize(), 144);
    EXPECT_EQ (plain->lengthInSamples, ((juce::int64) 256 << 30) / 4);
}

TEST (AudioFileGuard, ClaimsAreBoundedAtTheirEdges)
{
    // Rates, channels and sample sizes.
    EXPECT_EQ (verdict (1000.0, 2, 10, 16, 1000, false), "");
    EXPECT_EQ (verdict (768000.0, 2, 10, 16, 1000, false), "");
    EXPECT_NE (verdict (999.0, 2, 10, 16, 1000, false), "");
    EXPECT_NE (verdict (768001.0, 2, 10, 16, 1000, false), "");
    EXPECT_NE (verdict (std::nan (""), 2, 10, 16, 1000, false), "");
    EXPECT_EQ (verdict (44100.0, 64, 1, 16, 1000, false), "");
    EXPECT_NE (verdict (44100.0, 65, 1, 16, 1000, false), "");
    EXPECT_NE (verdict (44100.0, 0, 1, 16, 1000, false), "");
    EXPECT_NE (verdict (44100.0, 1, 1, 4, 1000, false), "") << "PCM needs whole bytes";
    EXPECT_EQ (verdict (44100.0, 1, 1, 4, 1000, true), "");
    EXPECT_NE (verdict (44100.0, 1, -1, 16, 1000, false), "");

    // PCM: stereo 16-bit in 1000 bytes is 254 frames with the slack, not 255.
    EXPECT_EQ (verdict (44100.0, 2, 254, 16, 1000, false), "");
    EXPECT_NE (verdict (44100.0, 2, 255, 16, 1000, false), "");
    EXPECT_EQ (verdict (44100.0, 1, 1016 / 3, 24, 1000, false), "");
    EXPECT_NE (verdict (44100.0, 1, 1016 / 3 + 1, 24, 1000, false), "");

    // Compressed: samples per byte, then the absolute cap however large the file.
    const auto most = (1000 + AudioFileGuard::slackBytes) * AudioFileGuard::maxSamplesPerByte / 2;
    EXPECT_EQ (verdict (44100.0, 2, most, 16, 1000, true), "");
    EXPECT_NE (verdict (44100.0, 2, most + 1, 16, 1000, true), "");
    const juce::int64 huge = (juce::int64) 1 << 50;
    EXPECT_EQ (verdict (44100.0, 2, AudioFileGuard::maxDecodedSamples / 2, 16, huge, true), "");
    EXPECT_NE (verdict (44100.0, 2, AudioFileGuard::maxDecodedSamples / 2 + 1, 16, huge, true), "");
}

TEST (AudioFileGuard, ContainerChunksMustLieInsideTheFile)
{
    auto riff = [] (juce::uint32 listLength, int held)
    {
        juce::MemoryOutputStream out;
        out.write ("RIFF", 4);
        out.writeInt (4 + 8 + held);
        out.write ("WAVELIST", 8);
        out.writeInt ((int) listLength);
        out.writeRepeatedByte (0, (size_t) held);
        return out.getMemoryBlock();
    };

    auto check = [] (const juce::MemoryBlock& data)
    {
        juce::MemoryInputStream in (data, false);
        in.setPosition (7);
        const auto problem = AudioFileGuard::checkContainer (in);
        EXPECT_EQ (in.getPosition(), 7) << "the stream is left where it was";
        return problem;
    };

    EXPECT_EQ (check (riff (100, 100)), "");
    EXPECT_EQ (check (riff (101, 100)), "") << "an odd last chunk may lack its pad byte";
    EXPECT_EQ (check (riff (100 + (juce::uint32) AudioFileGuard::slackBytes, 100)), "");
    EXPECT_EQ (check (riff (101 + (juce::uint32) AudioFileGuard::slackBytes, 100)),
               "chunk 'LIST' claims 117 bytes in a file of 120");
    EXPECT_NE (check (riff (0xfffffff0, 100)), "");

    const char notAContainer[] = "ID3 and then something else entirely";
    EXPECT_EQ (check (juce::MemoryBlock (notAContainer, sizeof (notAContainer))), "");
}
