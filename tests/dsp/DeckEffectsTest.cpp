#include "dsp/DeckEffects.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using Marlode::DeckEffects;
using MarlodeTest::RealtimeWatch;

namespace
{
struct Effects : DeckEffects
{
    Effects()
    {
        prepare (44100.0, 512, 2);
        monoOn = true;
    }

    // Runs a buffer through in blocks, none of which may allocate or lock.
    juce::AudioBuffer<float> run (juce::AudioBuffer<float> b)
    {
        RealtimeWatch::reset();
        {
            RealtimeWatch::Scope watch;
            for (int start = 0; start < b.getNumSamples(); start += 512)
                process (juce::AudioSourceChannelInfo (&b, start, juce::jmin (512, b.getNumSamples() - start)));
        }
        EXPECT_EQ (RealtimeWatch::allocations() + RealtimeWatch::locks(), 0) << RealtimeWatch::report();
        return b;
    }
};

juce::AudioBuffer<float> stereoNoise (int n = 4096)
{
    return MarlodeTest::makeBuffer (2, n, MarlodeTest::noise);
}

// Every output sample against `expected (channel, index)`.
void expectSamples (const juce::AudioBuffer<float>& out, const std::function<float (int, int)>& expected, float tolerance = 0.0f)
{
    for (int c = 0; c < out.getNumChannels(); ++c)
        for (int i = 0; i < out.getNumSamples(); ++i)
            ASSERT_NEAR (out.getSample (c, i), expected (c, i), tolerance) << "channel " << c << " sample " << i;
}
} // namespace

TEST (DeckEffects, MonoAndMidSideArithmetic)
{
    const auto in = stereoNoise();
    const auto left = [&] (int, int i) { return in.getSample (0, i); };

    // Plain mono: a left-only signal comes out at half level on both sides.
    expectSamples (Effects().run (MarlodeTest::makeBuffer (2, 512, [&] (int c, int i) { return c == 0 ? left (c, i) : 0.0f; })),
                   [&] (int c, int i) { return left (c, i) * 0.5f; });

    // Mid/side with both gains at 1 gives back the input; the mid solo gives the mid on both
    // sides, the side solo the side in opposite polarity, and so does the mid at gain 0.
    Effects fx;
    fx.midSide = true;
    expectSamples (
        fx.run (in), [&] (int c, int i) { return in.getSample (c, i); }, 1e-6f);

    fx.midSolo = true;
    expectSamples (
        fx.run (in), [&] (int, int i) { return (in.getSample (0, i) + in.getSample (1, i)) / 2.0f; }, 1e-6f);

    fx.midSolo = false;
    for (auto sideOnly : { std::pair (&fx.sideSolo, 1.0f), std::pair (&fx.midSolo, 0.0f) })
    {
        fx.sideSolo = sideOnly.first == &fx.sideSolo;
        fx.midGain = sideOnly.second;
        expectSamples (
            fx.run (in), [&] (int c, int i) { return (c == 0 ? 0.5f : -0.5f) * (in.getSample (0, i) - in.getSample (1, i)); },
            1e-6f);
    }

    // A one-channel block is left as it is, whatever the mode.
    fx.xOver = true;
    const auto mono = MarlodeTest::makeBuffer (1, 1024, MarlodeTest::noise);
    expectSamples (fx.run (mono), MarlodeTest::noise);
}

TEST (DeckEffects, CrossoverPutsMonoLowsUnderStereoHighsAndNeverClips)
{
    Effects fx;
    fx.xOver = true;

    // Full-scale in-phase square waves: the safety limiter's clip keeps every sample within 1.
    const auto loud = MarlodeTest::makeBuffer (2, 44100, [] (int, int i) { return (i / 50) % 2 == 0 ? 1.0f : -1.0f; });
    auto out = fx.run (loud);
    EXPECT_LE (out.getMagnitude (0, out.getNumSamples()), 1.0f);

    // Low solo: the lows in mono, the same on both sides. High solo: no mono part, so uncorrelated
    // noise stays different on the two sides. At 20 kHz nearly everything is low, so near mono.
    fx.soloLow = true;
    out = fx.run (stereoNoise());
    expectSamples (out, [&] (int, int i) { return out.getSample (0, i); });

    const auto sideLevel = [] (const juce::AudioBuffer<float>& b)
    {
        double side = 0.0, all = 0.0;
        for (int i = 2048; i < b.getNumSamples(); ++i)
        {
            side += std::pow (b.getSample (0, i) - b.getSample (1, i), 2.0);
            all += std::pow (b.getSample (0, i), 2.0) + std::pow (b.getSample (1, i), 2.0);
        }
        return side / all;
    };
    fx.soloLow = false;
    fx.soloHigh = true;
    EXPECT_GT (sideLevel (fx.run (stereoNoise (16384))), 0.5);

    fx.soloHigh = false;
    fx.xOverFreq = 20000.0f;
    EXPECT_LT (sideLevel (fx.run (stereoNoise (16384))), 0.2);

    // A block longer than the prepared size is taken in pieces.
    auto longBlock = stereoNoise (3000);
    fx.process (juce::AudioSourceChannelInfo (&longBlock, 0, 3000));
    EXPECT_NE (longBlock.getSample (0, 2999), stereoNoise (3000).getSample (0, 2999));
}
