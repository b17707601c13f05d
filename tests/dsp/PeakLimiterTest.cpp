#include "dsp/LimiterProcessor.h"
#include "dsp/PeakHold.h"
#include "support/Alongside.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>

using Marlode::LimiterProcessor;
using Marlode::PeakHold;
using Marlode::PeakLimiter;
using MarlodeTest::RealtimeWatch;
using MarlodeTest::runAlongside;

namespace
{
//==============================================================================
using SlidingMaximum = ::testing::TestWithParam<int>;

TEST_P (SlidingMaximum, EqualsTheBruteForceMaximumOfTheLastPushes)
{
    const auto length = GetParam();
    PeakHold hold;
    hold.prepare (length);
    EXPECT_EQ (hold.read(), PeakHold::lowest);

    juce::Random r (length);
    std::deque<double> window (length, PeakHold::lowest);
    for (int i = 0; i < 20 * length + 500; ++i)
    {
        // Runs that rise and fall for longer than a window, between stretches of noise.
        const auto phase = i % (3 * length + 7);
        const auto v = phase < length       ? (double) phase
                       : phase < 2 * length ? (double) (2 * length - phase)
                                            : r.nextDouble() * 10.0 - 5.0;
        hold.push (v);
        window.pop_front();
        window.push_back (v);
        ASSERT_EQ (hold.read(), *std::max_element (window.begin(), window.end())) << "push " << i;
    }
}

INSTANTIATE_TEST_SUITE_P (WindowLengths, SlidingMaximum,
                          ::testing::Values (1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 17, 31, 100, 881, 1024, 1323));

//==============================================================================
/** A limiter fed sample by sample in blocks of varied sizes, with the output recorded. */
struct Feeder
{
    explicit Feeder (double rate, int numChannels = 2, double thresholdDb = 0.0) : channels (numChannels)
    {
        limiter.prepare (512, channels, rate);
        limiter.setThresholdDb (thresholdDb);
    }

    /** Runs `numSamples` of `generator (channel, index)` through and returns the output. */
    juce::AudioBuffer<float> feed (int numSamples, const std::function<float (int, int)>& generator)
    {
        auto out = MarlodeTest::makeBuffer (channels, numSamples, [&] (int c, int i) { return generator (c, fed + i); });
        for (int done = 0, size = 1; done < numSamples; size = size % 509 + 37)
        {
            const auto n = std::min (size, numSamples - done);
            limiter.process (out, done, n);
            done += n;
        }
        fed += numSamples;
        return out;
    }

    PeakLimiter limiter;
    int channels, fed = 0;
};

/** Every output sample is the source `delay` samples earlier, exactly, after silence. */
void expectDelayedSource (const juce::AudioBuffer<float>& out, const std::function<float (int, int)>& source, int delay)
{
    for (int c = 0; c < out.getNumChannels(); ++c)
        for (int i = 0; i < out.getNumSamples(); ++i)
            ASSERT_EQ (out.getSample (c, i), i < delay ? 0.0f : source (c, i - delay)) << "channel " << c << " sample " << i;
}

/** After a hold ends at push `end`, the wanted gain rises from `from` by the one-pole curve; the
    smoothed gain of output sample n lies between the wanted gain `order` samples before and the present one. */
void expectRelease (const std::function<double (int)>& gainAt, int order, int end, double from, double coeff, int upTo)
{
    const auto wanted = [&] (int n) { return n <= end ? from : 1.0 - (1.0 - from) * std::pow (1.0 - coeff, n - end); };
    for (int n = end + order + 1; n < upTo; ++n)
    {
        ASSERT_GE (gainAt (n), wanted (n - order) - 1e-6) << "sample " << n;
        ASSERT_LE (gainAt (n), wanted (n) + 1e-6) << "sample " << n;
    }
}

//==============================================================================
using AtRate = ::testing::TestWithParam<double>;

// Only positive peaks are limited: a negative one far past the ceiling passes untouched.
TEST_P (AtRate, UnderTheCeilingOrBelowZeroTheOutputIsTheInputDelayedAtGainOne)
{
    Feeder run (GetParam());
    const auto delay = run.limiter.getDelaySamples();
    EXPECT_EQ (delay, (int) (0.005 * GetParam()));

    const auto source = [] (int c, int i) { return i == 1000 ? -2.0f : 0.999f * std::sin (0.01f * (float) i * (float) (c + 1)); };
    expectDelayedSource (run.feed (20000, source), source, delay);
}

TEST_P (AtRate, APeakIsMetByAFallOverTheLookAheadAHoldAndARelease)
{
    const auto rate = GetParam();
    Feeder run (rate);
    const auto delay = run.limiter.getDelaySamples(), window = delay + run.limiter.getHoldSamples();
    const int peakAt = 3000;

    const auto out = run.feed (peakAt + window + (int) (0.3 * rate),
                               [&] (int c, int i) { return c == 0 ? 0.25f : (i == peakAt ? 2.0f : 0.0f); });
    const auto at = [&] (int n) { return out.getSample (0, n) / 0.25; };

    for (int n = delay; n < peakAt; ++n)
        ASSERT_EQ (at (n), 1.0) << "sample " << n;
    EXPECT_LT (at (peakAt), 1.0) << "the fall starts as the peak enters, the look-ahead before it comes out";

    for (int n = peakAt; n < peakAt + delay; ++n)
        ASSERT_LE (at (n + 1), at (n)) << "sample " << n;

    EXPECT_NEAR (at (peakAt + delay), 0.5, 1e-6);
    EXPECT_NEAR (out.getSample (1, peakAt + delay), 1.0f, 1e-6f);
    for (int n = peakAt + delay - 1; n < peakAt + window; ++n)
        ASSERT_NEAR (at (n), 0.5, 1e-6) << "held at sample " << n;
    EXPECT_GT (at (peakAt + window + delay), 0.5 + 1e-4) << "the release starts after the hold";

    expectRelease (at, delay - 1, peakAt + window - 1, 0.5, PeakLimiter::releaseCoefficient (40.0, rate), out.getNumSamples());
    EXPECT_GT (at (out.getNumSamples() - 1), 0.999);
}

INSTANTIATE_TEST_SUITE_P (Rates, AtRate, ::testing::Values (22050.0, 44100.0, 48000.0, 96000.0));

TEST (PeakLimiter, LoudNoiseNeverPassesTheCeilingByMoreThanRounding)
{
    const auto ceiling = std::pow (10.0, -3.0 / 20.0);
    Feeder run (44100.0, 2, -3.0);
    juce::Random r (7);

    // Bursts of noise at up to 12 dB over full scale, some starting right after silence,
    // between quiet stretches.
    const auto out = run.feed (
        44100 * 4,
        [&] (int, int i)
        {
            const auto part = (i / 2000) % 4;
            const auto level = part == 0 ? 0.0f : part == 1 ? 0.2f : part == 2 ? 4.0f : 1.0f + (float) (i % 300) / 100.0f;
            return level * (r.nextFloat() * 2.0f - 1.0f);
        });

    const auto highest = std::max (juce::FloatVectorOperations::findMaximum (out.getReadPointer (0), out.getNumSamples()),
                                   juce::FloatVectorOperations::findMaximum (out.getReadPointer (1), out.getNumSamples()));

    EXPECT_GT (highest, 0.95 * ceiling) << "the bursts reach the ceiling";
    EXPECT_LE (highest / ceiling, 1.0 + 1e-6) << "overshoot: " << highest / ceiling;
}

TEST (PeakLimiter, TurningTheReleaseEndsTheReleaseInProgressAndUsesTheNewTime)
{
    Feeder changed (44100.0), unchanged (44100.0);
    const auto delay = changed.limiter.getDelaySamples(), window = delay + changed.limiter.getHoldSamples();
    const auto source = [] (int c, int i) { return c == 0 ? 0.25f : (i == 1000 || i == 10000 ? 2.0f : 0.0f); };

    // Into the release of the first peak.
    const auto releasing = 1000 + window + 2 * delay;
    changed.feed (releasing, source);
    unchanged.feed (releasing, source);

    changed.limiter.setReleaseMs (1000.0);

    const auto rest = 20000 - releasing;
    const auto a = changed.feed (rest, source), b = unchanged.feed (rest, source);
    EXPECT_NEAR (a.getSample (0, delay), 0.25f, 1e-7f) << "back to gain 1 a look-ahead later";
    EXPECT_LT (b.getSample (0, delay), 0.24f) << "still releasing without the change";

    // The second peak releases over a second.
    const auto at = [&] (int n) { return a.getSample (0, n - releasing) / 0.25; };
    expectRelease (at, delay - 1, 10000 + window - 1, 0.5, PeakLimiter::releaseCoefficient (1000.0, 44100.0), 20000);
    EXPECT_LT (at (20000 - 1), 0.8);
}

TEST (PeakLimiter, ACeilingOfNothingSilencesEverything)
{
    Feeder run (44100.0, 1, -100.0);
    EXPECT_EQ (run.limiter.getLimit(), 0.0);
    const auto delay = run.limiter.getDelaySamples();
    EXPECT_EQ (run.feed (3000, [] (int, int) { return 0.5f; }).getMagnitude (0, 2 * delay, 3000 - 2 * delay), 0.0f);
}

//==============================================================================
struct Stage : ::testing::Test
{
    LimiterProcessor stage;
    juce::AudioBuffer<float> block { 2, 441 };

    void SetUp() override
    {
        stage.prepare (44100.0, 441, 2);
        stage.setLimiterOn (true);
    }

    void feed (float level, int times = 1)
    {
        for (int t = 0; t < times; ++t)
        {
            block = MarlodeTest::makeBuffer (2, 441, [=] (int, int) { return level; });
            stage.process (juce::AudioSourceChannelInfo (&block, 0, block.getNumSamples()));
        }
    }
};

TEST_F (Stage, OffItNeitherRunsNorDelays)
{
    stage.setLimiterOn (false);
    feed (3.0f);
    EXPECT_EQ (block.getSample (0, 0), 3.0f);
    EXPECT_EQ (stage.getReductionDb(), 0.0f);
    EXPECT_FALSE (stage.takeUpdate());
}

TEST_F (Stage, InputGainGoesBeforeTheLimiterAndOutputGainAfter)
{
    stage.setInputDb (6.0);
    feed (0.25f, 2);
    EXPECT_FALSE (stage.takeUpdate()) << "the smoothing starts at rest on gain 1: no reduction at start";
    EXPECT_NEAR (block.getSample (1, 440), 0.25f * std::pow (10.0f, 0.3f), 1e-6f) << "under the ceiling";

    stage.setInputDb (24.0);
    stage.setOutputDb (-6.0);
    feed (0.25f, 10);
    EXPECT_NEAR (block.getSample (0, 440), std::pow (10.0f, -0.3f), 1e-5f) << "the ceiling, lowered by the output";
    EXPECT_NEAR (stage.getReductionDb(), 24.0f - 12.04f, 0.01f);
}

TEST_F (Stage, TheDisplayRisesAtOnceAndFallsAtMost24DbASecond)
{
    feed (4.0f);
    EXPECT_NEAR (stage.getReductionDb(), 12.04f, 0.01f);
    EXPECT_TRUE (stage.takeUpdate());
    EXPECT_FALSE (stage.takeUpdate()) << "cleared by the reader";

    feed (100.0f);
    EXPECT_EQ (stage.getReductionDb(), LimiterProcessor::maxReductionDb) << "capped";
    EXPECT_TRUE (stage.takeUpdate());

    // 441 samples are 10 ms: 0.24 dB at most per block, although the gain recovers sooner.
    auto blocks = 0;
    for (auto shown = stage.getReductionDb(); shown > 0.0f; ++blocks)
    {
        feed (0.1f);
        ASSERT_GE (stage.getReductionDb(), shown - 0.24f - 1e-4f) << "block " << blocks;
        ASSERT_LE (stage.getReductionDb(), shown);
        ASSERT_EQ (stage.takeUpdate(), stage.getReductionDb() != shown) << "block " << blocks;
        shown = stage.getReductionDb();
    }
    EXPECT_GE (blocks, 100);
    EXPECT_LE (blocks, 105) << "held while the real gain holds, then the steady fall";
    feed (0.1f);
    EXPECT_FALSE (stage.takeUpdate()) << "nothing changed";
}

TEST_F (Stage, ProcessAllocatesNothingAndTakesNoLock)
{
    int i = 0;
    juce::Random r (3);
    RealtimeWatch::reset();
    runAlongside (
        500,
        [&]
        {
            stage.setReleaseMs (1.0 + i % 1000);
            stage.setThresholdDb (-(i % 240) * 0.1);
            stage.setInputDb ((i++ % 480) * 0.1 - 24.0);
            juce::ignoreUnused (stage.takeUpdate());
            std::this_thread::yield();
        },
        [&]
        {
            block = MarlodeTest::makeBuffer (2, 441, [&] (int, int) { return r.nextFloat() * 2.0f - 1.0f; });
            RealtimeWatch::Scope watch;
            stage.process (juce::AudioSourceChannelInfo (&block, 0, 441));
        });

    EXPECT_EQ (RealtimeWatch::allocations(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::locks(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::wait), 0) << RealtimeWatch::report();
}
} // namespace
