#include "dsp/TimeStretcher.h"
#include "support/Alongside.h"
#include "support/RealtimeWatch.h"
#include "support/StretchTone.h"

#include <gtest/gtest.h>

#include <cmath>

using Marlode::TimeStretcher;
using namespace MarlodeTest;

namespace
{
constexpr int block = 512;

// A stretcher prepared for two channels at 44.1 kHz, fed a tone.
struct Stretching
{
    Stretching() { s.prepare (block, 2, 44100.0); }

    // Allocations made by `blocks` pulls of `size` samples on this thread.
    long allocationsOfPulls (int blocks, int size = block)
    {
        b.setSize (2, size);
        RealtimeWatch::reset();
        for (int i = 0; i < blocks; ++i)
        {
            RealtimeWatch::Scope watch;
            s.pull (tone, juce::AudioSourceChannelInfo (&b, 0, size));
        }
        return RealtimeWatch::allocations();
    }

    Tone tone;
    TimeStretcher s;
    juce::AudioBuffer<float> b;
};
} // namespace

TEST (TimeStretcher, SteadyPlayingAndThePresetsRatioChangesAllocateNothing)
{
    Stretching run;
    run.allocationsOfPulls (64); // past the start latency
    EXPECT_EQ (run.allocationsOfPulls (200), 0) << RealtimeWatch::report();

    // The presets' and "Speed"'s ratios find the library already grown by the warm-up.
    for (double ratio : { 0.8, 0.45, 2.2, 1.0 })
    {
        run.s.setTimeRatio (ratio);
        EXPECT_EQ (run.allocationsOfPulls (1), 0) << "time ratio " << ratio;
    }
}

TEST (TimeStretcher, WritesOnlyTheBlocksOwnRegionAndOversizedBlocksInParts)
{
    Stretching run;
    run.s.setTimeRatio (0.7);
    juce::AudioBuffer<float> b (3, 3 * block);
    double energy = 0.0;
    for (int n = 0; n < 40; ++n)
    {
        for (int c = 0; c < 3; ++c)
            juce::FloatVectorOperations::fill (b.getWritePointer (c), 7.0f, 3 * block);
        run.s.pull (run.tone, juce::AudioSourceChannelInfo (&b, block, block));
        for (int c = 0; c < 3; ++c)
            ASSERT_TRUE (b.getSample (c, block - 1) == 7.0f && b.getSample (c, 2 * block) == 7.0f) << "block " << n;
        EXPECT_EQ (b.getMagnitude (2, block, block), 0.0f) << "a channel the stretcher doesn't have is silent";
        energy += b.getRMSLevel (0, block, block);
    }
    EXPECT_GT (energy, 1.0) << "the region got the stretched tone";

    EXPECT_EQ (run.allocationsOfPulls (20, 3 * block + 100), 0) << "the library was never given more than prepared for";
    EXPECT_GT (run.b.getRMSLevel (0, 0, run.b.getNumSamples()), 0.3f);
}

TEST (TimeStretcher, ARebuildKeepsTheStoredValuesAndTheOptions)
{
    TimeStretcher s;
    s.setTimeRatio (0.5);
    s.setPitchScale (1.5);
    s.setOption (TimeStretcher::Option::formant, 3); // no third choice: the first
    EXPECT_EQ (s.getOption (TimeStretcher::Option::formant), 1);

    s.prepare (block, 1, 48000.0);
    EXPECT_EQ (s.getStretcher()->getChannelCount(), 1u);
    EXPECT_TRUE (s.getStretcher()->getTimeRatio() == 0.5 && s.getStretcher()->getPitchScale() == 1.5);
}

struct Clamp
{
    double stored, givenTime, givenPitch;
};

using TimeStretcherClamp = ::testing::TestWithParam<Clamp>;

TEST_P (TimeStretcherClamp, TheLibraryGetsARatioItAcceptsWhileTheStoredValueStays)
{
    const auto [stored, givenTime, givenPitch] = GetParam();
    TimeStretcher s;
    s.prepare (block, 2, 44100.0);
    s.setTimeRatio (stored);
    s.setPitchScale (stored);
    auto& library = handOver (s);

    EXPECT_TRUE (s.getTimeRatio() == stored || (std::isnan (stored) && std::isnan (s.getTimeRatio())));
    EXPECT_EQ (library.getTimeRatio(), givenTime);
    EXPECT_EQ (library.getPitchScale(), givenPitch);
}

INSTANTIATE_TEST_SUITE_P (Ratios, TimeStretcherClamp,
                          ::testing::Values (Clamp { 1.0, 1.0, 1.0 }, Clamp { 0.45, 0.45, 0.45 }, Clamp { 2.414, 2.414, 2.414 },
                                             Clamp { 0.2, 0.2, 0.25 }, Clamp { 6.0, 6.0, 4.0 }, Clamp { 0.0, 0.125, 0.25 },
                                             Clamp { -1.0, 0.125, 0.25 }, Clamp { -1.0e9, 0.125, 0.25 },
                                             Clamp { 1.0e9, 8.0, 4.0 }, Clamp { std::nan (""), 0.125, 0.25 }));

// Under ThreadSanitizer this is the test of the hand-over; in the normal build it also counts
// what the audio thread calls.
TEST (TimeStretcher, ControlsMovingWhileTheAudioThreadPullsNeitherRaceNorLock)
{
    Stretching run;
    run.b.setSize (2, block);
    juce::Random r (3);
    RealtimeWatch::reset();
    const auto [edits, blocks] = runAlongside (
        3000,
        [&]
        {
            run.s.setTimeRatio (0.5 + r.nextDouble());
            run.s.setPitchScale (0.5 + r.nextDouble() * 1.5);
            run.s.setOption ((TimeStretcher::Option) r.nextInt (TimeStretcher::numOptions), 1 + r.nextInt (3));
            std::this_thread::sleep_for (std::chrono::milliseconds (2));
        },
        [&]
        {
            RealtimeWatch::Scope watch;
            run.s.pull (run.tone, juce::AudioSourceChannelInfo (&run.b, 0, block));
            ASSERT_LE (run.b.getMagnitude (0, block), 4.0f);
        });

    EXPECT_GT (edits, 200);
    EXPECT_GT (blocks, 200);
    EXPECT_EQ (RealtimeWatch::locks(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::wait), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::io), 0) << RealtimeWatch::report();
}
