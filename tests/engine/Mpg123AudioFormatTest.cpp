#include "engine/AudioFileGuard.h"
#include "engine/Mpg123AudioFormat.h"
#include "engine/SharedFormatManager.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
struct Shape
{
    int channels;
    double sampleRate;
};

// One and a half seconds and an odd remainder, so the length is no whole number of MP3 frames.
int sourceLength (double sampleRate)
{
    return (int) (sampleRate * 1.5) + 333;
}

float tone (int channel, int index, double sampleRate)
{
    return 0.5f * sweep (channel, index, sampleRate);
}

std::unique_ptr<juce::AudioFormatReader> openMp3 (const juce::File& file)
{
    SharedFormatManager formats;
    return AudioFileGuard::createReader (formats, file);
}

juce::AudioBuffer<float> readRange (juce::AudioFormatReader& reader, juce::int64 start, int count)
{
    // A mark no decoder gives, so a sample the reader left unwritten shows.
    auto buffer = makeBuffer ((int) reader.numChannels, count, [] (int, int) { return 9.0f; });
    reader.read (&buffer, 0, count, start, true, true);
    return buffer;
}

/** Normalised correlation of two channels with `b` shifted by `lag` samples. */
double correlation (const float* a, const float* b, int length, int lag)
{
    double ab = 0.0, aa = 0.0, bb = 0.0;

    for (int i = juce::jmax (0, -lag); i < length && i + lag < length; ++i)
    {
        ab += (double) a[i] * b[i + lag];
        aa += (double) a[i] * a[i];
        bb += (double) b[i + lag] * b[i + lag];
    }

    return aa > 0.0 && bb > 0.0 ? ab / std::sqrt (aa * bb) : 0.0;
}

/** A file's bytes in memory, which can be cut short after the reader has scanned them. */
struct ShrinkingStream : juce::InputStream
{
    explicit ShrinkingStream (juce::MemoryBlock bytesToServe)
        : bytes (std::move (bytesToServe)), size ((juce::int64) bytes.getSize())
    {
    }

    juce::int64 getTotalLength() override { return size; }
    bool isExhausted() override { return position >= size; }
    juce::int64 getPosition() override { return position; }

    bool setPosition (juce::int64 newPosition) override
    {
        position = juce::jlimit ((juce::int64) 0, size, newPosition);
        return true;
    }

    int read (void* dest, int wanted) override
    {
        const auto n = (int) juce::jlimit ((juce::int64) 0, (juce::int64) wanted, size - position);
        memcpy (dest, static_cast<const char*> (bytes.getData()) + position, (size_t) n);
        position += n;
        return n;
    }

    juce::MemoryBlock bytes;
    juce::int64 size, position = 0;
};

struct Mpg123Decoding : ::testing::TestWithParam<Shape>
{
    TempFolder temp;

    juce::File encode()
    {
        const auto [channels, rate] = GetParam();
        return writeMp3 (temp.file ("tone.mp3"), rate, channels, sourceLength (rate),
                         [rate = rate] (int c, int i) { return tone (c, i, rate); });
    }
};
}

TEST_P (Mpg123Decoding, LameToneDecodesToTheSourceLengthAndShapeWithoutDelay)
{
    const auto [channels, rate] = GetParam();
    const auto file = encode();
    ASSERT_TRUE (file.existsAsFile()) << "lame could not encode";

    const auto reader = openMp3 (file);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->getFormatName(), Mpg123AudioFormat::formatName);
    EXPECT_EQ ((int) reader->numChannels, channels);
    EXPECT_EQ (reader->sampleRate, rate);
    EXPECT_TRUE (reader->usesFloatingPointData);
    EXPECT_EQ (reader->bitsPerSample, 32u);
    // Gapless: the encoder's delay and padding are gone, not a sample more or less.
    ASSERT_EQ (reader->lengthInSamples, sourceLength (rate));

    const auto length = (int) reader->lengthInSamples;
    const auto decoded = readRange (*reader, 0, length);

    for (int c = 0; c < channels; ++c)
    {
        std::vector<float> source ((size_t) length);
        for (int i = 0; i < length; ++i)
            source[(size_t) i] = tone (c, i, rate);

        int bestLag = 0;
        double best = -1.0;
        for (int lag = -1200; lag <= 1200; ++lag)
        {
            const auto r = correlation (source.data(), decoded.getReadPointer (c), length, lag);
            if (r > best)
            {
                best = r;
                bestLag = lag;
            }
        }

        EXPECT_GT (best, 0.99) << "channel " << c;
        EXPECT_EQ (bestLag, 0) << "channel " << c << ": the decoded audio is shifted";
    }
}

TEST_P (Mpg123Decoding, ReadingAtAnyPositionGivesWhatReadingStraightThroughGives)
{
    const auto file = encode();
    const auto reader = openMp3 (file);
    ASSERT_NE (reader, nullptr);
    const auto length = (int) reader->lengthInSamples;
    const auto straight = readRange (*reader, 0, length);

    juce::Random random (42);

    for (int jump = 0; jump < 60; ++jump)
    {
        // Backwards, forwards, a step past the decoded block, and over the end.
        const auto start = jump % 10 == 9 ? (juce::int64) length - 100 : (juce::int64) random.nextInt (length);
        const auto count = 1 + random.nextInt (5000);
        const auto part = readRange (*reader, start, count);

        // The synthesis filter restarts a few frames before the place sought, so its last bits
        // may differ; one sample of shift would differ a thousand times more.
        for (int c = 0; c < part.getNumChannels(); ++c)
            for (int i = 0; i < count; ++i)
            {
                const auto expected = start + i < length ? straight.getSample (c, (int) start + i) : 0.0f;
                ASSERT_NEAR (part.getSample (c, i), expected, 1.0e-5f)
                    << "from " << start << ", sample " << i << ", channel " << c;
            }
    }
}

INSTANTIATE_TEST_SUITE_P (MonoAndStereo, Mpg123Decoding,
                          ::testing::Values (Shape { 1, 44100.0 }, Shape { 2, 44100.0 }, Shape { 1, 48000.0 },
                                             Shape { 2, 48000.0 }),
                          [] (const auto& info) {
                              return juce::String (info.param.channels).toStdString() + "ch"
                                     + juce::String ((int) info.param.sampleRate).toStdString();
                          });

TEST (Mpg123AudioFormat, BrokenStreamsAreRefusedOrReadInFullWithoutAFault)
{
    TempFolder temp;
    const auto good = writeMp3 (temp.file ("good.mp3"), 44100.0, 2, 44100, [] (int c, int i) { return tone (c, i, 44100.0); });
    ASSERT_TRUE (good.existsAsFile());
    juce::MemoryBlock bytes;
    ASSERT_TRUE (good.loadFileAsData (bytes));
    const auto fullLength = openMp3 (good)->lengthInSamples;

    // A truncation keeps the frames before the cut, readable to their end. The info frame's
    // delay and padding no longer match what is there, so the library keeps them: at most the
    // full length and the two frames they filled.
    for (const auto cut : { 1, 4, 200, 417, 1000, 5000, (int) bytes.getSize() / 2, (int) bytes.getSize() - 1 })
    {
        const auto file = temp.file ("cut " + juce::String (cut) + ".mp3");
        file.replaceWithData (bytes.getData(), (size_t) cut);

        if (const auto reader = openMp3 (file))
        {
            EXPECT_LE (reader->lengthInSamples, fullLength + 2 * 1152) << cut;
            const auto all = readRange (*reader, 0, (int) reader->lengthInSamples + 1000);
            EXPECT_EQ (all.getMagnitude ((int) reader->lengthInSamples, 1000), 0.0f) << "past the end is silence, " << cut;
        }
    }

    // Nothing, noise, a tag without audio: nothing decodes, so nothing opens.
    juce::MemoryBlock noise (20000);
    juce::Random (7).fillBitsRandomly (noise.getData(), noise.getSize());
    const char tagOnly[] = { 'I', 'D', '3', 3, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 };
    const auto empty = temp.file ("empty.mp3");
    ASSERT_TRUE (empty.create().wasOk());
    temp.file ("tag.mp3").replaceWithData (tagOnly, sizeof (tagOnly));
    EXPECT_EQ (openMp3 (empty), nullptr);
    EXPECT_EQ (openMp3 (temp.file ("tag.mp3")), nullptr);

    // A header's claimed length is never believed: the frames are counted.
    juce::MemoryOutputStream lie;
    const juce::uint8 frameHeader[] = { 0xff, 0xfb, 0x90, 0x40 };
    lie.write (frameHeader, 4);
    lie.writeRepeatedByte (0, 32);
    lie.write ("Xing", 4);
    lie.writeIntBigEndian (1);
    lie.writeIntBigEndian (0x7fffffff);
    lie.writeRepeatedByte (0, 417 - 48);
    for (int frame = 0; frame < 8; ++frame)
    {
        lie.write (frameHeader, 4);
        lie.writeRepeatedByte (0, 417 - 4);
    }
    temp.file ("lie.mp3").replaceWithData (lie.getData(), lie.getDataSize());
    const auto liar = openMp3 (temp.file ("lie.mp3"));
    ASSERT_NE (liar, nullptr);
    EXPECT_LE (liar->lengthInSamples, 9 * 1152);
    EXPECT_EQ (readRange (*liar, 0, (int) liar->lengthInSamples).getMagnitude (0, (int) liar->lengthInSamples), 0.0f);

    // Random bytes hold false frame headers now and then: refused, or read in full.
    temp.file ("noise.mp3").replaceWithData (noise.getData(), noise.getSize());
    if (const auto reader = openMp3 (temp.file ("noise.mp3")))
        readRange (*reader, 0, (int) reader->lengthInSamples);
}

TEST (Mpg123AudioFormat, AStreamThatEndsAfterOpeningReadsAsSilenceFromWhereItEnds)
{
    TempFolder temp;
    const auto file = writeMp3 (temp.file ("tone.mp3"), 44100.0, 1, 44100, [] (int c, int i) { return tone (c, i, 44100.0); });
    juce::MemoryBlock bytes;
    ASSERT_TRUE (file.loadFileAsData (bytes));

    Mpg123AudioFormat format;
    const auto full = readRange (
        *std::unique_ptr<juce::AudioFormatReader> (format.createReaderFor (new juce::MemoryInputStream (bytes, true), true)), 0,
        44100);

    auto* stream = new ShrinkingStream (bytes);
    std::unique_ptr<juce::AudioFormatReader> reader (format.createReaderFor (stream, true));
    ASSERT_NE (reader, nullptr);
    ASSERT_EQ (reader->lengthInSamples, 44100);
    stream->size /= 2;

    const auto cut = readRange (*reader, 0, 44100);
    int firstSilent = 44100;
    while (firstSilent > 0 && cut.getSample (0, firstSilent - 1) == 0.0f)
        --firstSilent;

    EXPECT_GT (firstSilent, 10000) << "what was there decodes";
    EXPECT_LT (firstSilent, 34100) << "what was cut is silence";
    for (int i = 0; i < firstSilent - 2400; ++i)
        ASSERT_EQ (cut.getSample (0, i), full.getSample (0, i)) << i;
}

TEST (Mpg123AudioFormat, IsThePlayersOnlyMp3ReaderAndWritesNothing)
{
    SharedFormatManager formats;
    int takers = 0;

    for (auto* format : formats)
        if (format->canHandleFile (juce::File ("/tmp/a.mp3")))
        {
            ++takers;
            EXPECT_NE (dynamic_cast<Mpg123AudioFormat*> (format), nullptr) << format->getFormatName();
        }

    EXPECT_EQ (takers, 1);
    EXPECT_NE (formats.findFormatForFileExtension ("wav"), nullptr);
    EXPECT_EQ (formats.getDefaultFormat()->getFormatName(), juce::WavAudioFormat().getFormatName());

    Mpg123AudioFormat format;
    juce::MemoryOutputStream out;
    EXPECT_EQ (format.createWriterFor (&out, 44100.0, 2, 16, {}, 0), nullptr);

    // A refused stream stays its caller's when asked so: this one lives on the stack.
    juce::MemoryInputStream garbage ("not an mp3 at all", 17, false);
    EXPECT_EQ (format.createReaderFor (&garbage, false), nullptr);
    EXPECT_EQ (garbage.getTotalLength(), 17);
}
