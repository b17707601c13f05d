#include "dsp/PeakLimiter.h"
#include "dsp/TruePeakInterpolator.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
// A unit sine of `cycle` samples a period whose samples miss its crests by `phase` radians.
auto sineBetweenSamples (int cycle, double phase)
{
    return [=] (int, int i) { return (float) std::sin (juce::MathConstants<double>::twoPi * i / cycle + phase); };
}

float truePeak (const juce::AudioBuffer<float>& audio, int from)
{
    TruePeakInterpolator interpolator;
    interpolator.prepare (audio.getNumChannels());
    auto peak = 0.0f;
    for (int i = 0; i < audio.getNumSamples(); ++i)
        for (int c = 0; c < audio.getNumChannels(); ++c)
            if (const auto p = interpolator.push (c, audio.getSample (c, i)); i >= from)
                peak = std::max (peak, p);
    return peak;
}
}

TEST (TruePeakInterpolator, FindsTheCrestsBetweenSamplesOfTheReferenceSines)
{
    struct Row
    {
        int cycle;
        double phaseDegrees;
    };
    // Their samples peak at -3.0, -1.25 and -0.7 dB; the waveform at 0 dB.
    for (const auto& r : { Row { 4, 45.0 }, Row { 6, 60.0 }, Row { 8, 67.5 } })
    {
        const auto audio = makeBuffer (2, 4096, sineBetweenSamples (r.cycle, juce::degreesToRadians (r.phaseDegrees)));
        EXPECT_LT (audio.getMagnitude (0, 4096), 0.93f);
        EXPECT_NEAR (juce::Decibels::gainToDecibels (truePeak (audio, 64)), 0.0f, 0.05f) << "a period of " << r.cycle;
    }

    // A constant rebuilds as itself, of either sign, and the answer lags by the latency.
    auto level = makeBuffer (1, 64, [] (int, int i) { return i < 32 ? -0.5f : 0.0f; });
    TruePeakInterpolator interpolator;
    interpolator.prepare (1);
    for (int i = 0; i < 64; ++i)
    {
        const auto p = interpolator.push (0, level.getSample (0, i));
        if (i >= 24 && i < 32)
            EXPECT_NEAR (p, 0.5f, 1e-3f) << i;
        if (i >= 32 + TruePeakInterpolator::latency + TruePeakInterpolator::tapsPerPhase)
            EXPECT_EQ (p, 0.0f) << i;
    }
}

TEST (TruePeakInterpolator, ATruePeakLimiterKeepsTheWaveformUnderItsCeilingWhereASampleLimiterDoesNot)
{
    const auto input = makeBuffer (2, 512 * 80, sineBetweenSamples (4, juce::MathConstants<double>::pi / 4));
    const auto limitedBy = [&] (PeakLimiter::Detection d)
    {
        PeakLimiter limiter (d);
        limiter.prepare (512, 2, 44100.0);
        limiter.setThresholdDb (-6.0);
        auto out = input;
        for (int start = 0; start < out.getNumSamples(); start += 512)
            limiter.process (out, start, 512);
        return truePeak (out, 4410);
    };

    const auto ceiling = juce::Decibels::decibelsToGain (-6.0f);
    EXPECT_LE (limitedBy (PeakLimiter::Detection::truePeak), ceiling * 1.002f);
    EXPECT_GT (limitedBy (PeakLimiter::Detection::positiveSamples), ceiling * 1.3f);
}
