#include "dsp/ParametricEqualiser.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <complex>
#include <thread>

using Marlode::EQBandValues;
using Marlode::ParametricEqualiser;
using MarlodeTest::RealtimeWatch;

namespace
{
EQBandValues band (int type, double freq, double gain = 0.0, double q = 0.6)
{
    EQBandValues v;
    v.filterType = type;
    v.freq = freq;
    v.gain = gain;
    v.q = q;
    return v;
}

void run (ParametricEqualiser& eq, juce::AudioBuffer<float>& b, int blockSize = 512)
{
    for (int start = 0; start < b.getNumSamples(); start += blockSize)
        eq.process (juce::AudioSourceChannelInfo (&b, start, juce::jmin (blockSize, b.getNumSamples() - start)));
}

juce::AudioBuffer<float> noiseBlock (int channels, int n)
{
    return MarlodeTest::makeBuffer (channels, n, [] (int c, int i) { return MarlodeTest::noise (c, i); });
}

void expectSame (const juce::AudioBuffer<float>& a, const juce::AudioBuffer<float>& b, float tolerance)
{
    for (int c = 0; c < a.getNumChannels(); ++c)
        for (int i = 0; i < a.getNumSamples(); ++i)
            ASSERT_NEAR (a.getSample (c, i), b.getSample (c, i), tolerance) << "channel " << c << " sample " << i;
}
} // namespace

//==============================================================================
struct ResponseCase
{
    double rate;
    std::vector<EQBandValues> bands;
};

class EqualiserResponse : public testing::TestWithParam<ResponseCase>
{
};

// What the block path does to an impulse, read at log-spaced frequencies, is what the editor's
// curve says for the same settings.
TEST_P (EqualiserResponse, TheBlockPathMatchesTheDrawnCurve)
{
    const auto& param = GetParam();
    ParametricEqualiser eq (true);
    eq.prepare (param.rate, 512, 2);
    for (auto& b : param.bands)
        ASSERT_TRUE (eq.addBand (b));

    const int length = 1 << 17;
    juce::AudioBuffer<float> impulse (2, length);
    impulse.clear();
    impulse.setSample (0, 0, 1.0f);
    impulse.setSample (1, 0, 1.0f);
    run (eq, impulse);

    for (double f = 20.0; f <= 20000.0; f *= 1.07)
    {
        std::complex<double> h;
        const auto w = -juce::MathConstants<double>::twoPi * f / param.rate;
        for (int n = 0; n < length; ++n)
            h += (double) impulse.getSample (1, n) * std::polar (1.0, w * n);

        const auto measured = juce::jmax (-100.0, 20.0 * std::log10 (std::abs (h)));
        ASSERT_NEAR (measured, eq.responseDb (f), 0.1) << f << " Hz";
    }
}

INSTANTIATE_TEST_SUITE_P (
    EveryTypeAtBothRates, EqualiserResponse,
    testing::Values (ResponseCase { 44100.0, { band (EQBandValues::peak, 1000.0, 9.0, 2.0) } },
                     ResponseCase { 48000.0, { band (EQBandValues::peak, 80.0, -12.0, 4.0) } },
                     ResponseCase { 44100.0, { band (EQBandValues::lowPass, 4000.0) } },
                     ResponseCase { 48000.0, { band (EQBandValues::highPass, 4000.0) } },
                     ResponseCase { 44100.0, { band (EQBandValues::lowShelf, 150.0, 6.0, 0.7) } },
                     ResponseCase { 48000.0, { band (EQBandValues::highShelf, 10000.0, -8.0, 0.9) } },
                     ResponseCase { 48000.0,
                                    { band (EQBandValues::highPass, 30.0), band (EQBandValues::peak, 300.0, -6.0, 1.5),
                                      band (EQBandValues::peak, 2500.0, 4.0, 3.0), band (EQBandValues::highShelf, 8000.0, 3.0),
                                      band (EQBandValues::lowPass, 18000.0) } }));

//==============================================================================
TEST (ParametricEqualiser, DesignRules)
{
    // Slope is stored only: every slope designs the same filter.
    auto v = band (EQBandValues::lowPass, 3000.0);
    const auto firstSlope = ParametricEqualiser::design (v, 44100.0);
    v.slopeType = 3;
    EXPECT_EQ (ParametricEqualiser::design (v, 44100.0), firstSlope);

    // Low- and high-pass ignore gain and Q.
    v.gain = 12.0;
    v.q = 9.0;
    EXPECT_EQ (ParametricEqualiser::design (v, 44100.0), firstSlope);

    // No rate or an unknown type: no design.
    EXPECT_FALSE (ParametricEqualiser::design (v, 0.0));
    v.filterType = 6;
    EXPECT_FALSE (ParametricEqualiser::design (v, 44100.0));

    // A low-pass at 20 kHz: valid at 44.1 kHz, and past Nyquist at 32 kHz not clamped (the
    // response turns as the formula gives instead of sitting at the limit), with no assertion.
    const auto atTop = band (EQBandValues::lowPass, 20000.0);
    const auto at44 = *ParametricEqualiser::design (atTop, 44100.0);
    EXPECT_NEAR (ParametricEqualiser::magnitude (at44, 20000.0, 44100.0), 1.0 / std::sqrt (2.0), 1e-4);
    const auto at32 = *ParametricEqualiser::design (atTop, 32000.0);
    const auto atNyquist = *ParametricEqualiser::design (band (EQBandValues::lowPass, 16000.0), 32000.0);
    EXPECT_NE (at32, atNyquist);
    for (auto c : at32)
        EXPECT_TRUE (std::isfinite (c));
}

TEST (ParametricEqualiser, OutputStageRules)
{
    const auto input = noiseBlock (2, 512);

    // A peak at 0 dB passes the signal to rounding, and unity gain at centre is bit for bit even
    // with pan taking part.
    {
        ParametricEqualiser eq (true);
        eq.prepare (44100.0, 512, 2);
        eq.addBand (band (EQBandValues::peak, 1000.0, 0.0, 3.0));
        auto b = input;
        run (eq, b);
        expectSame (b, input, 1e-6f);

        eq.removeAllBands();
        eq.setPanFromSlider (0.0);
        b = input;
        run (eq, b);
        expectSame (b, input, 0.0f);
    }

    // With the master toggle off the bands rest but gain and pan apply: +6 dB, pan -45 gives the
    // right side half of it.
    {
        ParametricEqualiser eq (true);
        eq.prepare (44100.0, 512, 2);
        eq.addBand (band (EQBandValues::highPass, 15000.0));
        eq.setBandsOn (false);
        eq.setOutputGain (2.0f);
        eq.setPanFromSlider (-45.0);
        auto b = input;
        run (eq, b);
        for (int i = 0; i < 512; ++i)
        {
            ASSERT_EQ (b.getSample (0, i), input.getSample (0, i) * 2.0f);
            ASSERT_EQ (b.getSample (1, i), input.getSample (1, i) * 1.0f);
        }
        EXPECT_EQ (eq.getLastFactor(), 1.0f);
    }

    // The master's equaliser has no pan of its own; a one-channel block gets gain, never pan.
    for (bool applyPan : { false, true })
    {
        ParametricEqualiser eq (applyPan);
        eq.prepare (44100.0, 512, 1);
        eq.setOutputGain (0.5f);
        eq.setPanFromSlider (90.0);
        auto stereo = input;
        run (eq, stereo);
        EXPECT_EQ (stereo.getSample (0, 7), input.getSample (0, 7) * (applyPan ? 0.0f : 0.5f));
        EXPECT_EQ (stereo.getSample (1, 7), input.getSample (1, 7) * 0.5f);

        auto mono = noiseBlock (1, 512);
        const auto monoInput = mono;
        run (eq, mono);
        EXPECT_EQ (mono.getSample (0, 7), monoInput.getSample (0, 7) * 0.5f);
    }

    // Neither gain nor pan taking part: each side gets the last factor used.
    {
        ParametricEqualiser eq (false);
        eq.prepare (44100.0, 512, 2);
        eq.setOutputGain (0.25f);
        auto b = input;
        run (eq, b);
        eq.setOutputStage (true, false);
        eq.setOutputGain (4.0f);
        b = input;
        run (eq, b);
        EXPECT_EQ (b.getSample (1, 3), input.getSample (1, 3) * 0.25f);
    }
}

// The spectrum tap sees the output of the bands and the gain stage, even with the bands off.
TEST (ParametricEqualiser, TheSpectrumTapSeesTheOutput)
{
    ParametricEqualiser eq (true);
    eq.prepare (48000.0, 512, 2);
    eq.setBandsOn (false);
    eq.setOutputGain (0.5f);
    eq.setSpectrumWanted (true);

    auto b = MarlodeTest::makeBuffer (2, 2560, [] (int c, int) { return c == 0 ? 1.0f : 0.5f; });
    run (eq, b);

    auto* frame = eq.spectrum.takeFrame();
    ASSERT_NE (frame, nullptr);
    EXPECT_FLOAT_EQ (frame[0], 0.375f);
    EXPECT_FLOAT_EQ (frame[2047], 0.375f);
    eq.spectrum.releaseFrame();

    eq.setSpectrumWanted (false);
    run (eq, b);
    EXPECT_EQ (eq.spectrum.takeFrame(), nullptr);
}

// A band's filter memory follows it when an earlier band goes, and a band added in a freed slot
// starts from rest.
TEST (ParametricEqualiser, FilterMemoryBelongsToItsBand)
{
    const auto retuned = band (EQBandValues::peak, 200.0, 12.0, 4.0);
    ParametricEqualiser eq (false), reference (false);
    for (auto* e : { &eq, &reference })
        e->prepare (44100.0, 512, 2);

    eq.addBand (band (EQBandValues::peak, 5000.0, 0.0)); // transparent, so the second band's input is the same
    eq.addBand (retuned);
    reference.addBand (retuned);

    auto a = noiseBlock (2, 4096), r = a;
    run (eq, a);
    run (reference, r);

    eq.removeBand (0);
    a = noiseBlock (2, 4096);
    r = a;
    run (eq, a);
    run (reference, r);
    expectSame (a, r, 1e-5f);

    eq.removeBand (0);
    eq.addBand (retuned);
    ParametricEqualiser fresh (false);
    fresh.prepare (44100.0, 512, 2);
    fresh.addBand (retuned);
    a = noiseBlock (2, 1024);
    r = a;
    run (eq, a);
    run (fresh, r);
    expectSame (a, r, 0.0f);
}

// One thread adds, removes and retunes bands as fast as it can while another runs blocks of
// noise: the block allocates nothing, takes no lock, waits for nothing and never makes a NaN.
TEST (ParametricEqualiser, BandChangesDuringPlaybackAreSafe)
{
    ParametricEqualiser eq (true);
    eq.prepare (48000.0, 512, 2);
    eq.setSpectrumWanted (true);
    std::atomic<bool> running { true };
    std::atomic<long> edits { 0 };

    std::thread editor (
        [&]
        {
            juce::Random r (7);
            while (running.load())
            {
                const auto n = eq.getNumBands();
                if (n < ParametricEqualiser::maxBands && r.nextInt (3) != 0)
                    eq.addBand (band (1 + r.nextInt (5), 20.0 * std::pow (1000.0, r.nextDouble()), r.nextDouble() * 48.0 - 24.0,
                                      0.1 + r.nextDouble() * 10.0));
                else if (n > 0)
                    eq.removeBand (r.nextInt (n));
                if (eq.getNumBands() > 0)
                    eq.setBand (0, band (EQBandValues::peak, 100.0 + r.nextInt (5000), -6.0));
                eq.setOutputGain (0.5f + r.nextFloat());
                eq.setPanFromSlider (r.nextInt (181) - 90);
                if (auto* f = eq.spectrum.takeFrame())
                {
                    juce::ignoreUnused (f);
                    eq.spectrum.releaseFrame();
                }
                ++edits;
            }
        });

    auto b = noiseBlock (2, 512);
    const auto deadline = juce::Time::getMillisecondCounter() + 3000;
    long blocks = 0;
    RealtimeWatch::reset();
    while (juce::Time::getMillisecondCounter() < deadline)
    {
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 512; ++i)
                b.setSample (c, i, MarlodeTest::noise (c, (int) (blocks * 512 + i)) * 0.1f);
        {
            RealtimeWatch::Scope watch;
            eq.process (juce::AudioSourceChannelInfo (&b, 0, 512));
        }
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 512; ++i)
                ASSERT_TRUE (std::isfinite (b.getSample (c, i))) << "block " << blocks;
        ++blocks;
    }
    running = false;
    editor.join();

    EXPECT_GT (edits.load(), 1000);
    EXPECT_GT (blocks, 1000);
    EXPECT_EQ (RealtimeWatch::allocations(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::locks(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::wait), 0) << RealtimeWatch::report();
}
