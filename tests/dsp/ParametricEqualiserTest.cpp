#include "dsp/ParametricEqualiser.h"
#include "support/Alongside.h"
#include "support/EqBand.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <complex>

using Marlode::EQBandValues;
using Marlode::ParametricEqualiser;
using MarlodeTest::eqBand;
using MarlodeTest::RealtimeWatch;
using Type = EQBandValues::FilterType;

namespace
{
struct Eq : ParametricEqualiser
{
    explicit Eq (bool applyPan = true, double rate = 44100.0, int channels = 2) : ParametricEqualiser (applyPan)
    {
        prepare (rate, 512, channels);
    }
};

// The block after the equaliser, run in blocks of 512.
juce::AudioBuffer<float> processed (ParametricEqualiser& eq, juce::AudioBuffer<float> b)
{
    for (int start = 0; start < b.getNumSamples(); start += 512)
        eq.process (juce::AudioSourceChannelInfo (&b, start, juce::jmin (512, b.getNumSamples() - start)));
    return b;
}

// Whether `out` is `in` times `left` on the first channel and `right` on the second.
void expectSame (const juce::AudioBuffer<float>& out, const juce::AudioBuffer<float>& in, float tolerance, float left = 1.0f,
                 float right = 1.0f)
{
    for (int c = 0; c < out.getNumChannels(); ++c)
        for (int i = 0; i < out.getNumSamples(); ++i)
            ASSERT_NEAR (out.getSample (c, i), in.getSample (c, i) * (c == 0 ? left : right), tolerance)
                << "channel " << c << " sample " << i;
}
} // namespace

// What the block path does to an impulse, read at log-spaced frequencies, is what the editor's
// curve says for the same settings.
class EqualiserResponse : public testing::TestWithParam<std::pair<double, std::vector<EQBandValues>>>
{
};

TEST_P (EqualiserResponse, TheBlockPathMatchesTheDrawnCurve)
{
    const auto& [rate, bands] = GetParam();
    Eq eq (true, rate);
    for (auto& b : bands)
        ASSERT_TRUE (eq.addBand (b));

    const int length = 1 << 17;
    const auto impulse = processed (eq, MarlodeTest::makeBuffer (2, length, [] (int, int i) { return i == 0 ? 1.0f : 0.0f; }));
    for (double f = 20.0; f <= 20000.0; f *= 1.07)
    {
        std::complex<double> h;
        for (int n = 0; n < length; ++n)
            h += (double) impulse.getSample (1, n) * std::polar (1.0, -juce::MathConstants<double>::twoPi * f / rate * n);
        ASSERT_NEAR (juce::jmax (-100.0, 20.0 * std::log10 (std::abs (h))), eq.responseDb (f), 0.1) << f << " Hz";
    }
}

INSTANTIATE_TEST_SUITE_P (EveryTypeAtBothRates, EqualiserResponse,
                          testing::ValuesIn (std::vector<std::pair<double, std::vector<EQBandValues>>> {
                              { 44100.0, { eqBand (Type::peak, 1000.0, 9.0, 2.0) } },
                              { 48000.0, { eqBand (Type::peak, 80.0, -12.0, 4.0) } },
                              { 44100.0, { eqBand (Type::lowPass, 4000.0) } },
                              { 48000.0, { eqBand (Type::highPass, 4000.0) } },
                              { 44100.0, { eqBand (Type::lowShelf, 150.0, 6.0, 0.7) } },
                              { 48000.0, { eqBand (Type::highShelf, 10000.0, -8.0, 0.9) } },
                              { 48000.0,
                                { eqBand (Type::highPass, 30.0), eqBand (Type::peak, 300.0, -6.0, 1.5),
                                  eqBand (Type::peak, 2500.0, 4.0, 3.0), eqBand (Type::highShelf, 8000.0, 3.0),
                                  eqBand (Type::lowPass, 18000.0) } } }));

TEST (ParametricEqualiser, DesignRules)
{
    // Slope is stored only, and low- and high-pass ignore gain and Q: all design the same filter.
    auto v = eqBand (Type::lowPass, 3000.0);
    const auto first = ParametricEqualiser::design (v, 44100.0);
    v.slopeType = 3;
    v.gain = 12.0;
    v.q = 9.0;
    EXPECT_EQ (ParametricEqualiser::design (v, 44100.0), first);
    v.filterType = 6;
    EXPECT_FALSE (ParametricEqualiser::design (v, 44100.0)) << "an unknown type has no design";

    // A low-pass at 20 kHz: valid at 44.1 kHz, and past Nyquist at 32 kHz not clamped (the
    // response turns as the formula gives instead of sitting at the limit), with no assertion.
    const auto atTop = eqBand (Type::lowPass, 20000.0);
    EXPECT_NEAR (ParametricEqualiser::magnitude (*ParametricEqualiser::design (atTop, 44100.0), 20000.0, 44100.0),
                 1.0 / std::sqrt (2.0), 1e-4);
    const auto at32 = *ParametricEqualiser::design (atTop, 32000.0);
    EXPECT_NE (at32, *ParametricEqualiser::design (eqBand (Type::lowPass, 16000.0), 32000.0));
    EXPECT_TRUE (std::all_of (at32.begin(), at32.end(), [] (auto c) { return std::isfinite (c); }));
}

// A peak at 0 dB passes the signal to rounding; unity gain at centre is bit for bit even with pan
// taking part; with the master toggle off the bands rest but gain and pan apply (+6 dB, pan -45
// gives the right side half of it); the master's equaliser has no pan of its own, and a
// one-channel block gets gain, never pan.
TEST (ParametricEqualiser, OutputStageRules)
{
    using Case = std::tuple<bool, int, std::vector<EQBandValues>, bool, float, double, float, float, float>;
    for (const auto& [applyPan, channels, bands, bandsOn, gain, pan, left, right, tolerance] :
         { Case { true, 2, { eqBand (Type::peak, 1000.0, 0.0, 3.0) }, true, 1.0f, 0.0, 1.0f, 1.0f, 1e-6f },
           Case { true, 2, {}, true, 1.0f, 0.0, 1.0f, 1.0f, 0.0f },
           Case { true, 2, { eqBand (Type::highPass, 15000.0) }, false, 2.0f, -45.0, 2.0f, 1.0f, 0.0f },
           Case { false, 2, {}, true, 0.5f, 90.0, 0.5f, 0.5f, 0.0f }, Case { true, 2, {}, true, 0.5f, 90.0, 0.0f, 0.5f, 0.0f },
           Case { true, 1, {}, true, 0.5f, 90.0, 0.5f, 0.5f, 0.0f } })
    {
        Eq eq (applyPan);
        for (const auto& b : bands)
            eq.addBand (b);
        eq.setBandsOn (bandsOn);
        eq.setOutputGain (gain);
        eq.setPanFromSlider (pan);
        const auto input = MarlodeTest::makeBuffer (channels, 512, MarlodeTest::noise);
        expectSame (processed (eq, input), input, tolerance, left, right);
    }

    // Neither gain nor pan taking part: each side gets the last factor used.
    const auto input = MarlodeTest::makeBuffer (2, 512, MarlodeTest::noise);
    Eq still (false);
    still.setOutputGain (0.25f);
    processed (still, input);
    still.setOutputStage (true, false);
    still.setOutputGain (4.0f);
    expectSame (processed (still, input), input, 0.0f, 0.25f, 0.25f);
}

// The spectrum tap sees the output of the bands and the gain stage, even with the bands off.
TEST (ParametricEqualiser, TheSpectrumTapSeesTheOutput)
{
    Eq eq (true, 48000.0);
    eq.setBandsOn (false);
    eq.setOutputGain (0.5f);
    eq.setSpectrumWanted (true);
    const auto b = MarlodeTest::makeBuffer (2, 2560, [] (int c, int) { return c == 0 ? 1.0f : 0.5f; });
    processed (eq, b);

    auto* frame = eq.spectrum.takeFrame();
    ASSERT_NE (frame, nullptr);
    EXPECT_EQ (std::count (frame, frame + 2048, 0.375f), 2048);
    eq.spectrum.releaseFrame();

    eq.setSpectrumWanted (false);
    processed (eq, b);
    EXPECT_EQ (eq.spectrum.takeFrame(), nullptr);
}

// A band's filter memory follows it when an earlier band goes, and a band added in a freed slot
// starts from rest.
TEST (ParametricEqualiser, FilterMemoryBelongsToItsBand)
{
    // The first band is transparent, so the second band's input is the same.
    const auto transparent = eqBand (Type::peak, 5000.0, 0.0), retuned = eqBand (Type::peak, 200.0, 12.0, 4.0);
    Eq eq (false), reference (false), fresh (false);
    eq.addBand (transparent);
    eq.addBand (retuned);
    reference.addBand (retuned);
    const auto compare = [&] (ParametricEqualiser& other, int n, float tolerance)
    {
        const auto in = MarlodeTest::makeBuffer (2, n, MarlodeTest::noise);
        expectSame (processed (eq, in), processed (other, in), tolerance);
    };

    compare (reference, 4096, 1e-5f);
    eq.removeBand (0);
    compare (reference, 4096, 1e-5f);

    // The second new band lands in the slot the retuned band played through.
    eq.removeBand (0);
    for (auto* e : { &eq, &fresh })
        for (const auto& b : { transparent, retuned })
            e->addBand (b);
    compare (fresh, 1024, 0.0f);
}

// One thread adds, removes and retunes bands as fast as it can while another runs blocks of
// noise: the block allocates nothing, takes no lock, waits for nothing and never makes a NaN.
TEST (ParametricEqualiser, BandChangesDuringPlaybackAreSafe)
{
    Eq eq (true, 48000.0);
    eq.setSpectrumWanted (true);
    juce::Random r (7);
    const auto input = MarlodeTest::makeBuffer (2, 512, [] (int c, int i) { return MarlodeTest::noise (c, i) * 0.1f; });
    auto b = input;
    long nonFinite = 0;

    RealtimeWatch::reset();
    const auto [edits, blocks] = MarlodeTest::runAlongside (
        3000,
        [&]
        {
            const auto n = eq.getNumBands();
            if (n < ParametricEqualiser::maxBands && r.nextInt (3) != 0)
                eq.addBand (eqBand (1 + r.nextInt (5), 20.0 * std::pow (1000.0, r.nextDouble()), r.nextDouble() * 48.0 - 24.0,
                                    0.1 + r.nextDouble() * 10.0));
            else if (n > 0)
                eq.removeBand (r.nextInt (n));
            if (eq.getNumBands() > 0)
                eq.setBand (0, eqBand (Type::peak, 100.0 + r.nextInt (5000), -6.0));
            eq.setOutputGain (0.5f + r.nextFloat());
            eq.setPanFromSlider (r.nextInt (181) - 90);
            if (eq.spectrum.takeFrame() != nullptr)
                eq.spectrum.releaseFrame();
        },
        [&]
        {
            b.makeCopyOf (input);
            RealtimeWatch::begin();
            eq.process (juce::AudioSourceChannelInfo (b));
            RealtimeWatch::end();
            for (int c = 0; c < 2; ++c)
                nonFinite += std::count_if (b.getReadPointer (c), b.getReadPointer (c) + 512,
                                            [] (float x) { return ! std::isfinite (x); });
        });

    EXPECT_EQ (nonFinite, 0);
    EXPECT_GT (edits, 1000);
    EXPECT_GT (blocks, 1000);
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0") << "no allocation, lock, wait, sleep or file";
}

// A stereo block runs its channels side by side through every band; each channel must come out
// bit for bit as it does alone, band after band, through its own memory and across blocks of
// any length, shorter than the band count too.
TEST (ParametricEqualiser, StereoBlocksAreBitForBitTheirChannelsAlone)
{
    const auto in = MarlodeTest::makeBuffer (2, 5000, MarlodeTest::noise);
    Eq stereo (false);
    std::array<std::unique_ptr<Eq>, 2> alone { std::make_unique<Eq> (false, 44100.0, 1),
                                               std::make_unique<Eq> (false, 44100.0, 1) };
    for (int i = 0; i < 9; ++i)
        for (auto* eq : { (Eq*) &stereo, alone[0].get(), alone[1].get() })
            eq->addBand (eqBand (1 + i % 5, 30.0 * std::pow (2.2, i), i % 2 ? 6.0 : -9.0, 0.7 + 0.3 * i));

    // Blocks of 1, 4, 13, 40, ... samples; the memory is tidied at each block's end, so both
    // runs take the same blocks.
    const auto run = [] (ParametricEqualiser& eq, juce::AudioBuffer<float> b)
    {
        for (int start = 0, length = 1; start < b.getNumSamples(); start += length, length = length * 3 % 700 + 1)
            eq.process (juce::AudioSourceChannelInfo (&b, start, juce::jmin (length, b.getNumSamples() - start)));
        return b;
    };
    const auto out = run (stereo, in);
    for (int c = 0; c < 2; ++c)
    {
        juce::AudioBuffer<float> channel (1, in.getNumSamples());
        channel.copyFrom (0, 0, in, c, 0, in.getNumSamples());
        const auto single = run (*alone[(size_t) c], channel);
        EXPECT_EQ (std::memcmp (single.getReadPointer (0), out.getReadPointer (c), sizeof (float) * (size_t) in.getNumSamples()),
                   0)
            << "channel " << c;
    }
}
