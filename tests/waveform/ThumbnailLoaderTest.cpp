#include "support/TestAudio.h"
#include "support/ColumnExtents.h"
#include "waveform/ThumbnailLoader.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr double rate = 44100.0;

struct ThumbnailLoaderTest : ::testing::Test
{
    ThumbnailLoaderTest() { formats.registerBasicFormats(); }

    TempFolder temp;
    juce::AudioFormatManager formats;
    juce::AudioThumbnailCache cache { 20 };
    juce::AudioThumbnail thumbnail { 128, formats, cache };
    ThumbnailLoader loader { formats, thumbnail, cache };

    // A loud 1 kHz tone whose level rises over the file, left and right at different levels.
    juce::File tone (const juce::String& name, int seconds)
    {
        return writeWav (
            temp.file (name), rate, 2, (int) rate * seconds,
            [seconds] (int c, int i)
            {
                const auto level = 0.1 + 0.8 * i / (rate * seconds);
                return (float) ((c ? 0.5 : 1.0) * level * std::sin (2.0 * juce::MathConstants<double>::pi * 1000.0 * i / rate));
            },
            16);
    }
};

// An hour of mono silence as FLAC: a small file that takes seconds to decode.
juce::File longSilentFlac (const juce::File& file)
{
    juce::FlacAudioFormat flac;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        flac.createWriterFor (file.createOutputStream().release(), 44100.0, 1, 16, {}, 0));
    juce::AudioBuffer<float> silence (1, 65536);
    silence.clear();
    for (int written = 0; written < 44100 * 60 * 60; written += silence.getNumSamples())
        writer->writeFromAudioSampleBuffer (silence, 0, silence.getNumSamples());
    return file;
}

// The drawn extent of every column of a picture of one channel.
std::vector<std::pair<int, int>> channelColumns (juce::AudioThumbnail& t, double start, double end, int channel)
{
    juce::Image image (juce::Image::ARGB, 400, 100, true);
    juce::Graphics g (image);
    g.setColour (juce::Colours::white);
    t.drawChannel (g, image.getBounds(), start, end, channel, 1.0f);
    return columnExtents (image);
}
}

TEST_F (ThumbnailLoaderTest, HoldsWhatTheFrameworksOwnLoaderHolds)
{
    const auto file = tone ("tone.wav", 30);
    ASSERT_TRUE (loader.load (file));
    EXPECT_EQ (thumbnail.getNumChannels(), 2) << "shaped to the file at once";
    EXPECT_NEAR (thumbnail.getTotalLength(), 30.0, 128 / rate);
    ASSERT_TRUE (pumpUntil ([&] { return loader.isComplete(); }, 10000));
    EXPECT_TRUE (thumbnail.isFullyLoaded());

    juce::AudioThumbnailCache ownCache (20);
    juce::AudioThumbnail own (128, formats, ownCache);
    ASSERT_TRUE (own.setSource (new juce::FileInputSource (file)));
    ASSERT_TRUE (pumpUntil ([&] { return own.isFullyLoaded(); }, 30000));

    // The levels over every stretch of the file, both channels.
    for (int c = 0; c < 2; ++c)
        for (double t = 0.0; t < 30.0; t += 0.37)
        {
            float lo = 0, hi = 0, ownLo = 0, ownHi = 0;
            thumbnail.getApproximateMinMax (t, t + 0.05, c, lo, hi);
            own.getApproximateMinMax (t, t + 0.05, c, ownLo, ownHi);
            ASSERT_NEAR (hi, ownHi, 0.02f) << "channel " << c << " at " << t;
            ASSERT_NEAR (lo, ownLo, 0.02f) << "channel " << c << " at " << t;
        }

    // Close up, a few milliseconds over 400 pixels, both draw the file's own samples: the tone's
    // cycles, not the flat band of one thumbnail sample per couple of hundred pixels.
    const auto close = channelColumns (thumbnail, 20.0, 20.004, 0), ownClose = channelColumns (own, 20.0, 20.004, 0);
    int differing = 0, tall = 0;
    for (size_t x = 0; x < close.size(); ++x)
    {
        differing += std::abs (close[x].first - ownClose[x].first) > 1 || std::abs (close[x].second - ownClose[x].second) > 1;
        tall += close[x].second - close[x].first > 50;
    }
    EXPECT_LE (differing, 4);
    EXPECT_LT (tall, 40) << "a close-up shows the wave, not a band";
}

TEST_F (ThumbnailLoaderTest, ATrackChangeMidwayStopsTheOldRead)
{
    const auto loud = tone ("loud.wav", 60);
    const auto quiet = writeWav (
        temp.file ("quiet.wav"), rate, 1, (int) rate * 2, [] (int, int) { return 0.0f; }, 16);

    ASSERT_TRUE (loader.load (loud));
    ASSERT_TRUE (loader.load (quiet));
    ASSERT_TRUE (pumpUntil ([&] { return loader.isComplete(); }, 10000));
    pumpMessages (300); // time for a read that went on to write into the thumbnail

    EXPECT_EQ (thumbnail.getNumChannels(), 1);
    EXPECT_NEAR (thumbnail.getTotalLength(), 2.0, 128 / rate) << "to its last thumbnail sample";
    EXPECT_LT (thumbnail.getApproximatePeak(), 0.05f) << "no level of the old file";

    // A long file is still being read when it is cleared or its loader destroyed: either stops
    // within a block, not at the file's end.
    const auto hours = longSilentFlac (temp.file ("hours.flac"));
    auto stopTime = [&] (const std::function<void()>& stop)
    {
        const auto start = juce::Time::getMillisecondCounterHiRes();
        stop();
        return juce::Time::getMillisecondCounterHiRes() - start;
    };

    ASSERT_TRUE (loader.load (hours));
    pumpMessages (50);
    EXPECT_LT (stopTime ([&] { loader.clear(); }), 300.0);
    EXPECT_EQ (thumbnail.getTotalLength(), 0.0);
    EXPECT_FALSE (loader.isComplete());

    auto other = std::make_unique<ThumbnailLoader> (formats, thumbnail, cache);
    ASSERT_TRUE (other->load (hours));
    pumpMessages (50);
    EXPECT_LT (stopTime ([&] { other.reset(); }), 300.0);
}
