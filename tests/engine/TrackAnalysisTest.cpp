// Whole files measured as the playlist's analysis and the command line measure them, against
// libebur128 for loudness and true peak, and against hand-worked values for RMS and peak.
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"

#include "support/TestAudio.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Marlode;

namespace
{
constexpr double pi = juce::MathConstants<double>::pi;

struct Signal
{
    const char* name;
    double seconds;
    std::function<float (int channel, int index, double rate)> generator;
};

// A 1 kHz sine at a level in dBFS that changes every `segmentSeconds`.
std::function<float (int, int, double)> sineSteps (std::vector<double> levels, double segmentSeconds)
{
    return [levels, segmentSeconds] (int, int i, double rate)
    {
        const auto segment = std::min ((size_t) (i / (segmentSeconds * rate)), levels.size() - 1);
        return (float) (std::pow (10.0, levels[segment] / 20.0) * std::sin (2.0 * pi * 1000.0 * i / rate));
    };
}

// Pink noise whose right channel is the left inverted: loudness as stereo noise, and its
// positive peaks over both channels are the left's magnitude peak, as libebur128 counts them.
float mirroredNoise (int channel, int index, double rate)
{
    static const auto pink = MarlodeTest::pinkNoise (60 * 48000, 3);
    const auto left = pink[(size_t) index];
    return channel == 0 ? left : -left;
}

struct Reference
{
    double integrated = 0.0, range = 0.0, truePeakDb = -100.0;
};

Reference libebur128 (const juce::AudioBuffer<float>& audio, double rate)
{
    const auto channels = (unsigned) audio.getNumChannels();
    const auto n = audio.getNumSamples();
    auto* state = ebur128_init (channels, (unsigned long) rate, EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK);
    std::vector<float> frames ((size_t) n * channels);

    for (size_t i = 0; i < frames.size(); ++i)
        frames[i] = audio.getSample ((int) (i % channels), (int) (i / channels));

    ebur128_add_frames_float (state, frames.data(), (size_t) n);
    Reference r;
    ebur128_loudness_global (state, &r.integrated);
    ebur128_loudness_range (state, &r.range);

    double peak = 0.0;
    for (unsigned c = 0; c < channels; ++c)
    {
        double p = 0.0;
        ebur128_true_peak (state, c, &p);
        peak = std::max (peak, p);
    }

    r.truePeakDb = 20.0 * std::log10 (peak);
    ebur128_destroy (&state);
    return r;
}

TrackAnalysisResults analyseFile (const juce::File& file)
{
    SharedFormatManager formats;
    TrackAnalysis analysis;
    return analysis.analyse (formats, file);
}

/** A reader of endless-looking silence, to have a measurement long enough to be cancelled. */
class LongSilenceReader : public juce::AudioFormatReader
{
public:
    LongSilenceReader() : juce::AudioFormatReader (nullptr, "silence")
    {
        sampleRate = 48000.0;
        numChannels = 2;
        bitsPerSample = 32;
        usesFloatingPointData = true;
        lengthInSamples = (juce::int64) 48000 * 3600 * 10;
    }

    bool readSamples (int* const* dest, int numDestChannels, int startOffset, juce::int64, int numSamples) override
    {
        for (int c = 0; c < numDestChannels; ++c)
            if (dest[c] != nullptr)
                std::fill (dest[c] + startOffset, dest[c] + startOffset + numSamples, 0);
        return true;
    }
};
} // namespace

class TrackAnalysisAgainstLibebur128 : public ::testing::TestWithParam<std::tuple<int, double>>
{
};

const Signal signals[] = {
    // Loudness steps of 20.1 s between -26 and -20 dBFS: integrated -23.
    { "Steps26To20", 60.3, sineSteps ({ -26.0, -20.0, -26.0 }, 20.1) },
    { "RangeOf15", 100.0, sineSteps ({ -50.0, -35.0, -20.0, -35.0, -50.0 }, 20.0) },
    { "RangeOf10", 40.0, sineSteps ({ -20.0, -30.0 }, 20.0) },
    { "MinuteOfNoise", 60.0, mirroredNoise },
    // A quarter-rate sine at 45 degrees: every sample is 3 dB under the crest.
    { "InterSamplePeaks", 10.0, [] (int, int i, double) { return (float) (0.5 * std::sin (pi * (0.5 * i + 0.25))); } },
};

TEST_P (TrackAnalysisAgainstLibebur128, AgreesOnLoudnessRangeAndTruePeak)
{
    const auto& signal = signals[std::get<0> (GetParam())];
    const auto rate = std::get<1> (GetParam());
    MarlodeTest::TempFolder folder;
    const auto file = MarlodeTest::writeWav (folder.file ("signal.wav"), rate, 2, (int) (signal.seconds * rate),
                                             [&] (int c, int i) { return signal.generator (c, i, rate); });
    const auto reference = libebur128 (MarlodeTest::readAll (file), rate);
    const auto measured = analyseFile (file);

    ASSERT_TRUE (measured.measured()) << measured.error;
    EXPECT_EQ (measured.numChannels, 2);
    EXPECT_NEAR (measured.lufs, reference.integrated, 0.1);
    EXPECT_NEAR (measured.loudnessRange, reference.range, 1.0);
    EXPECT_NEAR (measured.truePeakMax, reference.truePeakDb, 0.5);
}

INSTANTIATE_TEST_SUITE_P (
    Signals, TrackAnalysisAgainstLibebur128,
    ::testing::Combine (::testing::Range (0, (int) std::size (signals)), ::testing::Values (44100.0, 48000.0)),
    [] (const auto& info)
    { return std::string (signals[std::get<0> (info.param)].name) + "At" + std::to_string ((int) std::get<1> (info.param)); });

TEST (TrackAnalysis, RmsIsTheMeanOfZeroPaddedBlocksAndPeaksAreMagnitudes)
{
    MarlodeTest::TempFolder folder;

    // 300 samples of -0.5: one block, so the RMS is over 512 samples, the rest zeros.
    const auto shortFile = analyseFile (
        MarlodeTest::writeWav (folder.file ("short.wav"), 44100.0, 2, 300, [] (int c, int) { return c == 0 ? -0.5f : 0.25f; }));
    ASSERT_TRUE (shortFile.measured()) << shortFile.error;
    const auto leftRms = std::sqrt (300.0 * 0.25 / 512.0), rightRms = std::sqrt (300.0 * 0.0625 / 512.0);
    EXPECT_NEAR (shortFile.rmsLeft, 20.0 * std::log10 (leftRms), 0.01);
    EXPECT_NEAR (shortFile.rmsRight, 20.0 * std::log10 (rightRms), 0.01);
    EXPECT_NEAR (shortFile.rmsStereo, 20.0 * std::log10 ((leftRms + rightRms) / 2.0), 0.01);
    EXPECT_NEAR (shortFile.peakLeft, -6.02, 0.01);
    EXPECT_NEAR (shortFile.peakRight, -12.04, 0.01);

    // A full-scale block, then a silent one: block RMS 1 and 0 average to -6.02 dB, where the
    // RMS of the whole file would be -3.01 dB.
    const auto halfSilent = analyseFile (MarlodeTest::writeWav (
        folder.file ("half.wav"), 44100.0, 2, 1024, [] (int, int i) { return i < 512 ? 1.0f : 0.0f; }, 32));
    ASSERT_TRUE (halfSilent.measured()) << halfSilent.error;
    EXPECT_NEAR (halfSilent.rmsLeft, -6.02, 0.01);
    EXPECT_NEAR (halfSilent.rmsStereo, -6.02, 0.01);
    EXPECT_NEAR (halfSilent.peakRight, 0.0, 0.01);
}

TEST (TrackAnalysis, SilenceAndMissingChannelsReadAsTheFloor)
{
    MarlodeTest::TempFolder folder;

    const auto silence =
        analyseFile (MarlodeTest::writeWav (folder.file ("silence.wav"), 48000.0, 2, 48000, [] (int, int) { return 0.0f; }));
    ASSERT_TRUE (silence.measured()) << silence.error;
    for (auto value : { silence.rmsLeft, silence.rmsRight, silence.rmsStereo, silence.peakLeft, silence.peakRight })
        EXPECT_EQ (value, -100.0);
    EXPECT_EQ (silence.truePeakMax, -100.0f);

    // Mono: the right channel doesn't exist, and the stereo RMS is the left's.
    const auto rate = 48000.0;
    const auto monoFile =
        MarlodeTest::writeWav (folder.file ("mono.wav"), rate, 1, (int) (20 * rate),
                               [&] (int, int i) { return (float) (0.1 * std::sin (2.0 * pi * 1000.0 * i / rate)); });
    const auto mono = analyseFile (monoFile);
    ASSERT_TRUE (mono.measured()) << mono.error;
    EXPECT_EQ (mono.numChannels, 1);
    EXPECT_EQ (mono.rmsRight, -100.0);
    EXPECT_EQ (mono.peakRight, -100.0);
    EXPECT_NEAR (mono.rmsLeft, 20.0 * std::log10 (0.1 / std::sqrt (2.0)), 0.05);
    EXPECT_EQ (mono.rmsStereo, mono.rmsLeft);
    EXPECT_NEAR (mono.peakLeft, -20.0, 0.01);
    EXPECT_NEAR (mono.lufs, libebur128 (MarlodeTest::readAll (monoFile), rate).integrated, 0.1);
}

TEST (TrackAnalysis, RefusesWhatItCannotMeasureWithAReason)
{
    MarlodeTest::TempFolder folder;

    const auto three = analyseFile (
        MarlodeTest::writeWav (folder.file ("three.wav"), 44100.0, 3, 44100, [] (int, int i) { return i % 2 ? 0.5f : -0.5f; }));
    EXPECT_EQ (three.error, TrackAnalysis::tooManyChannels);
    EXPECT_EQ (three.numChannels, 3);
    for (auto value : { three.rmsLeft, three.rmsRight, three.rmsStereo, three.peakLeft, three.peakRight })
        EXPECT_EQ (value, -100.0);
    EXPECT_EQ (three.lufs, -100.0f);

    const auto garbage = folder.file ("garbage.wav");
    const char bytes[] = "RIFF\xff\xff\xff\x7fWAVEfmt not really audio";
    garbage.replaceWithData (bytes, sizeof (bytes) - 1);
    EXPECT_FALSE (analyseFile (garbage).measured());
    EXPECT_TRUE (analyseFile (garbage).error.isNotEmpty());
    EXPECT_TRUE (analyseFile (folder.file ("missing.wav")).error.isNotEmpty());
}

TEST (TrackAnalysis, CancelStopsTheMeasurementFromAnotherThread)
{
    LongSilenceReader reader;
    TrackAnalysis analysis;
    TrackAnalysisResults results;
    std::thread worker ([&] { results = analysis.analyse (reader); });

    while (analysis.getProgress() <= 0.0)
        std::this_thread::yield();

    const auto started = juce::Time::getMillisecondCounterHiRes();
    analysis.cancel();
    worker.join();

    // Ten hours of audio would take minutes; a cancelled one ends within the block.
    EXPECT_LT (juce::Time::getMillisecondCounterHiRes() - started, 1000.0);
    EXPECT_TRUE (results.cancelled);
    EXPECT_FALSE (results.measured());
    EXPECT_GT (analysis.getProgress(), 0.0);
    EXPECT_LT (analysis.getProgress(), 0.5);
}
