// Our loudness and true-peak measurement against libebur128 on the EBU Tech 3341 / 3342 style
// signals and on longer noise-like material, at the rates and block sizes the meters meet.
#include "dsp/Ebu128LoudnessMeter.h"
#include "dsp/TruePeakMeter.h"

#include "support/TestAudio.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <vector>

using namespace Marlode;

namespace
{
struct Segment
{
    double seconds, dBFS;
};

// A 1 kHz sine in both channels through segments of given level.
juce::AudioBuffer<float> sineSegments (double rate, const std::vector<Segment>& segments)
{
    std::vector<double> amplitudes;
    for (auto s : segments)
        amplitudes.insert (amplitudes.end(), (size_t) (s.seconds * rate), std::pow (10.0, s.dBFS / 20.0));

    return MarlodeTest::makeBuffer (
        2, (int) amplitudes.size(),
        [&] (int, int i)
        { return (float) (amplitudes[(size_t) i] * std::sin (2.0 * juce::MathConstants<double>::pi * 1000.0 * i / rate)); });
}

// Three minutes of music-like material: filtered noise whose level wanders by phrases.
juce::AudioBuffer<float> wanderingNoise (double rate)
{
    juce::Random random (42);
    double low[2] {};
    return MarlodeTest::makeBuffer (2, (int) (180.0 * rate),
                                    [&] (int c, int i)
                                    {
                                        const auto t = i / rate;
                                        const auto envelope =
                                            0.05
                                            + 0.25 * (0.5 + 0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * t / 23.0))
                                                  * (0.6 + 0.4 * std::sin (2.0 * juce::MathConstants<double>::pi * t / 3.7));
                                        low[c] += 0.05 * (random.nextFloat() * 2.0 - 1.0 - low[c]);
                                        return (float) (envelope * (low[c] * 3.0 + 0.3 * (random.nextFloat() * 2.0 - 1.0)));
                                    });
}

// Samples [start, start + n) of both channels, interleaved as libebur128 takes them.
std::vector<float> interleave (const juce::AudioBuffer<float>& audio, int start, int n)
{
    std::vector<float> frames ((size_t) n * 2);
    for (size_t i = 0; i < frames.size(); ++i)
        frames[i] = audio.getSample ((int) (i % 2), start + (int) (i / 2));
    return frames;
}

struct Readings
{
    double integrated = -300, range = 0, maxMomentary = -300, maxShortTerm = -300;
};

Readings ours (const juce::AudioBuffer<float>& audio, double rate, int blockSize, int requestRate)
{
    Ebu128LoudnessMeter meter;
    meter.prepareToPlay (rate, 2, blockSize, requestRate);
    auto copy = audio;

    for (int start = 0; start + blockSize <= audio.getNumSamples(); start += blockSize)
        meter.processBlock (juce::AudioSourceChannelInfo (&copy, start, blockSize));

    return { meter.getIntegratedLoudness(), meter.getLoudnessRange(), meter.getMaximumMomentaryLoudness(),
             meter.getMaximumShortTermLoudness() };
}

Readings reference (const juce::AudioBuffer<float>& audio, double rate)
{
    auto* state = ebur128_init (2, (unsigned long) rate, EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_M | EBUR128_MODE_S);
    const int hop = (int) (rate / 10); // momentary and short-term read every 100 ms
    Readings r;

    for (int start = 0; start + hop <= audio.getNumSamples(); start += hop)
    {
        ebur128_add_frames_float (state, interleave (audio, start, hop).data(), (size_t) hop);
        double m = -HUGE_VAL, s = -HUGE_VAL;
        ebur128_loudness_momentary (state, &m);
        ebur128_loudness_shortterm (state, &s);
        r.maxMomentary = std::max (r.maxMomentary, m);
        r.maxShortTerm = std::max (r.maxShortTerm, s);
    }

    ebur128_loudness_global (state, &r.integrated);
    ebur128_loudness_range (state, &r.range);
    ebur128_destroy (&state);
    return r;
}

// The sine segments of each case; none means the wandering noise.
struct Case
{
    const char* name;
    std::vector<Segment> segments;
    bool checkRange;
};

const Case cases[] = {
    { "Sine1kAtMinus23", { { 20.0, -23.0 } }, false },
    { "Sine1kAtMinus33", { { 20.0, -33.0 } }, false },
    { "ThreeSegments", { { 10.0, -36.0 }, { 60.0, -23.0 }, { 10.0, -36.0 } }, false },
    { "FiveSegments", { { 10.0, -72.0 }, { 10.0, -36.0 }, { 20.0, -23.0 }, { 10.0, -36.0 }, { 10.0, -72.0 } }, false },
    { "RangeStepOf10", { { 20.0, -20.0 }, { 20.0, -30.0 } }, true },
    { "RangeStepOf5", { { 20.0, -20.0 }, { 20.0, -15.0 } }, true },
    { "RangeStepOf20", { { 20.0, -40.0 }, { 20.0, -20.0 } }, true },
    { "WanderingNoise", {}, true },
};

// The device's case (request rate 33) and the file analysis' (rate 20), at 44.1 and 48 kHz.
using Param = std::tuple<int, double, int>;

using LoudnessAgainstLibebur128 = ::testing::TestWithParam<Param>;
}

TEST_P (LoudnessAgainstLibebur128, AgreesWithinTolerance)
{
    const auto& [caseIndex, rate, requestRate] = GetParam();
    const auto& c = cases[caseIndex];
    const auto audio = c.segments.empty() ? wanderingNoise (rate) : sineSegments (rate, c.segments);

    const auto ref = reference (audio, rate);
    const auto got = ours (audio, rate, 512, requestRate);

    EXPECT_NEAR (got.integrated, ref.integrated, 0.1) << c.name;
    EXPECT_NEAR (got.maxMomentary, ref.maxMomentary, 0.2) << c.name;
    EXPECT_NEAR (got.maxShortTerm, ref.maxShortTerm, 0.2) << c.name;

    if (c.checkRange)
        EXPECT_NEAR (got.range, ref.range, 1.0) << c.name;
}

INSTANTIATE_TEST_SUITE_P (Cases, LoudnessAgainstLibebur128,
                          ::testing::Combine (::testing::Range (0, (int) std::size (cases)), ::testing::Values (44100.0, 48000.0),
                                              ::testing::Values (33, 20)),
                          [] (const auto& info)
                          {
                              return std::string (cases[std::get<0> (info.param)].name) + "_"
                                     + std::to_string ((int) std::get<1> (info.param)) + "Hz_rate"
                                     + std::to_string (std::get<2> (info.param));
                          });

TEST (Ebu128LoudnessMeter, AnOddRateSilenceAndTheNominalSine)
{
    Ebu128LoudnessMeter meter;
    meter.prepareToPlay (44101.0, 2, 512, 33); // 44101 = 11 * 4009: no multiple of ten divides it
    EXPECT_EQ (meter.getNumberOfBins(), 30);

    // Digital silence measures nothing at all.
    meter.prepareToPlay (48000.0, 2, 512, 33);
    juce::AudioBuffer<float> block (2, 512);
    block.clear();
    for (int i = 0; i < 500; ++i)
        meter.processBlock (juce::AudioSourceChannelInfo (&block, 0, 512));
    EXPECT_EQ (meter.getIntegratedLoudness(), -300.0f);
    EXPECT_EQ (meter.getMomentaryLoudness(), -300.0f);
    EXPECT_EQ (meter.getShortTermLoudness(), -300.0f);
    EXPECT_GT (meter.getMeasurementDuration(), 50);

    // A 997 Hz full-scale sine in both channels: -0.691 + 10 log10 (2 x 0.5), plus the K-weighting's
    // +0.69 dB at that frequency, so 0 LUFS.
    auto sine = MarlodeTest::makeBuffer (
        2, 400 * 512, [] (int, int i) { return (float) std::sin (2.0 * juce::MathConstants<double>::pi * 997.0 * i / 48000.0); });
    meter.reset();
    for (int start = 0; start < sine.getNumSamples(); start += 512)
        meter.processBlock (juce::AudioSourceChannelInfo (&sine, start, 512));
    EXPECT_NEAR (meter.getMomentaryLoudness(), 0.0f, 0.02f);
    EXPECT_NEAR (meter.getShortTermLoudness(), 0.0f, 0.02f);
}

TEST (TruePeakMeter, AgreesWithLibebur128OnInterSamplePeaksAndNoise)
{
    for (const auto rate : { 44100.0, 48000.0 })
    {
        // A quarter-rate sine at 45 degrees: every sample is 3 dB under the true peak. And noise
        // shaped like programme material, its energy falling towards the top of the band. Our
        // meter counts positive excursions only, libebur128 magnitudes: so the second channel
        // carries the first one inverted, and our peak over both is the first one's magnitude.
        const int n = (int) rate * 2;
        auto sine = MarlodeTest::makeBuffer (
            2, n, [] (int, int i) { return (float) (0.5 * std::sin (juce::MathConstants<double>::pi * (0.5 * i + 0.25))); });
        juce::Random random (7);
        double low = 0.0;
        auto noise = MarlodeTest::makeBuffer (
            2, n, [&] (int c, int) { return (float) (1.2 * (low += 0.2 * (random.nextFloat() * 2.0 - 1.0 - low))); });
        noise.copyFrom (1, 0, noise, 0, 0, n);
        noise.applyGain (1, 0, n, -1.0f);
        // Full-band white noise: what a phase-bending oversampler read 3 dB high.
        auto white = MarlodeTest::makeBuffer (2, n, [&] (int, int) { return 0.5f * (random.nextFloat() * 2.0f - 1.0f); });
        white.copyFrom (1, 0, white, 0, 0, n);
        white.applyGain (1, 0, n, -1.0f);

        for (const auto* audio : { &sine, &noise, &white })
        {
            auto* state = ebur128_init (2, (unsigned long) rate, EBUR128_MODE_TRUE_PEAK);
            ebur128_add_frames_float (state, interleave (*audio, 0, n).data(), (size_t) n);
            double referencePeak = 0.0;
            ebur128_true_peak (state, 0, &referencePeak);
            ebur128_destroy (&state);

            TruePeakMeter meter;
            meter.prepare (2, 512, rate);
            EXPECT_EQ (meter.getOversamplingFactor(), 4);
            for (int start = 0; start + 512 <= n; start += 512)
                meter.process (juce::AudioSourceChannelInfo (const_cast<juce::AudioBuffer<float>*> (audio), start, 512));

            EXPECT_NEAR (meter.getPeakDb(), 20.0 * std::log10 (referencePeak), 0.5) << (audio == &sine    ? "sine"
                                                                                        : audio == &noise ? "noise"
                                                                                                          : "white noise")
                                                                                    << " at " << rate;
        }
    }

    TruePeakMeter high;
    high.prepare (2, 512, 96000.0);
    EXPECT_EQ (high.getOversamplingFactor(), 2);
}
