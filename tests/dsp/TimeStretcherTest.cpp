#include "dsp/TimeStretcher.h"
#include "support/RealtimeWatch.h"

#include <gtest/gtest.h>
#include <rubberband/RubberBandStretcher.h>

#include <cmath>
#include <thread>

using Marlode::TimeStretcher;
using MarlodeTest::RealtimeWatch;

namespace
{
constexpr int block = 512;
constexpr double rate = 44100.0;

// A 1 kHz sine at half scale, ready to be pulled.
struct Tone : juce::ToneGeneratorAudioSource
{
    Tone()
    {
        setFrequency (1000.0);
        setAmplitude (0.5f);
        prepareToPlay (block, rate);
    }
};

// Allocations made by `blocks` pulls on this thread.
long allocationsOfPulls (TimeStretcher& s, juce::AudioSource& source, int blocks)
{
    juce::AudioBuffer<float> b (2, block);
    RealtimeWatch::reset();
    for (int i = 0; i < blocks; ++i)
    {
        RealtimeWatch::Scope watch;
        s.pull (source, juce::AudioSourceChannelInfo (&b, 0, block));
    }
    return RealtimeWatch::allocations();
}
} // namespace

TEST (TimeStretcher, SteadyPlayingAllocatesNothingAndChangesAllocateOnlyWhereTheLibraryMust)
{
    Tone tone;
    TimeStretcher s;
    s.prepare (block, 2, rate);
    allocationsOfPulls (s, tone, 64); // past the start latency

    EXPECT_EQ (allocationsOfPulls (s, tone, 200), 0) << RealtimeWatch::report();

    // What a change costs the block that hands it over: time ratios over the presets' and
    // "Speed"'s range and the smallest the library is given, pitch scales over the controls'.
    std::string measured;
    for (double ratio : { 0.8, 0.45, 2.2, 1.0, 0.125, 1.0 })
    {
        s.setTimeRatio (ratio);
        const auto made = allocationsOfPulls (s, tone, 1);
        measured += "time " + std::to_string (ratio) + ": " + std::to_string (made) + "; ";

        // The presets' and "Speed"'s ratios find the library already grown by the warm-up
        // (until the extreme, after which the library grows again).
        if (measured.find ("0.125") == std::string::npos)
            EXPECT_EQ (made, 0) << "time ratio " << ratio;
    }
    for (double scale : { 1.3, 2.03, 0.47, 1.0 })
    {
        s.setPitchScale (scale);
        measured += "pitch " + std::to_string (scale) + ": " + std::to_string (allocationsOfPulls (s, tone, 1)) + "; ";
    }
    s.setOption (TimeStretcher::Option::transients, 3);
    s.setOption (TimeStretcher::Option::phase, 2);
    s.setOption (TimeStretcher::Option::pitch, 3);
    measured += "options: " + std::to_string (allocationsOfPulls (s, tone, 1));
    std::printf ("allocations per change: %s\n", measured.c_str());
    s.setTimeRatio (0.8);
    s.setPitchScale (1.3);
    allocationsOfPulls (s, tone, 1);

    // The same values again reach the library no more: nothing is rebuilt.
    s.setTimeRatio (0.8);
    s.setPitchScale (1.3);
    EXPECT_EQ (allocationsOfPulls (s, tone, 200), 0) << RealtimeWatch::report();
    EXPECT_EQ (s.getStretcher()->getTimeRatio(), 0.8);
    EXPECT_EQ (s.getStretcher()->getPitchScale(), 1.3);
}

TEST (TimeStretcher, WritesOnlyTheBlocksOwnRegion)
{
    Tone tone;
    TimeStretcher s;
    s.prepare (block, 2, rate);
    s.setTimeRatio (0.7);

    juce::AudioBuffer<float> b (3, 3 * block);
    double energy = 0.0;
    for (int n = 0; n < 40; ++n)
    {
        b.clear();
        for (int c = 0; c < 3; ++c)
        {
            juce::FloatVectorOperations::fill (b.getWritePointer (c), 7.0f, block);
            juce::FloatVectorOperations::fill (b.getWritePointer (c, 2 * block), 7.0f, block);
        }
        s.pull (tone, juce::AudioSourceChannelInfo (&b, block, block));

        for (int c = 0; c < 3; ++c)
        {
            ASSERT_EQ (b.getSample (c, block - 1), 7.0f) << "before the region, block " << n;
            ASSERT_EQ (b.getSample (c, 2 * block), 7.0f) << "after the region, block " << n;
        }
        EXPECT_EQ (b.getMagnitude (2, block, block), 0.0f) << "a channel the stretcher doesn't have stays silent";
        energy += b.getRMSLevel (0, block, block);
    }
    EXPECT_GT (energy, 1.0) << "the region got the stretched tone";
}

TEST (TimeStretcher, BlocksLargerThanPreparedAreStretchedInParts)
{
    Tone tone;
    TimeStretcher s;
    s.prepare (block, 2, rate);
    juce::AudioBuffer<float> b (2, 3 * block + 100);
    RealtimeWatch::reset();
    for (int n = 0; n < 20; ++n)
    {
        RealtimeWatch::Scope watch;
        s.pull (tone, juce::AudioSourceChannelInfo (&b, 0, b.getNumSamples()));
    }
    EXPECT_EQ (RealtimeWatch::allocations(), 0) << "the library was never given more than it was prepared for";
    EXPECT_GT (b.getRMSLevel (0, 0, b.getNumSamples()), 0.3f);
}

TEST (TimeStretcher, ARebuildKeepsTheStoredValuesAndTheOptions)
{
    TimeStretcher s;
    EXPECT_EQ (s.getStretcher(), nullptr);
    s.setTimeRatio (0.5);
    s.setPitchScale (1.5);
    s.setOption (TimeStretcher::Option::pitch, 2);
    s.setOption (TimeStretcher::Option::formant, 3); // no third choice: the first
    EXPECT_EQ (s.getOption (TimeStretcher::Option::formant), 1);

    s.prepare (block, 1, 48000.0);
    ASSERT_NE (s.getStretcher(), nullptr);
    EXPECT_EQ (s.getStretcher()->getChannelCount(), 1u);
    EXPECT_EQ (s.getStretcher()->getTimeRatio(), 0.5);
    EXPECT_EQ (s.getStretcher()->getPitchScale(), 1.5);
}

struct Clamp
{
    double stored, givenTime, givenPitch;
};

class TimeStretcherClamp : public ::testing::TestWithParam<Clamp>
{
};

TEST_P (TimeStretcherClamp, TheLibraryGetsARatioItAcceptsWhileTheStoredValueStays)
{
    const auto [stored, givenTime, givenPitch] = GetParam();
    Tone tone;
    TimeStretcher s;
    s.prepare (block, 2, rate);
    s.setTimeRatio (stored);
    s.setPitchScale (stored);

    juce::AudioBuffer<float> b (2, block);
    s.pull (tone, juce::AudioSourceChannelInfo (&b, 0, block));

    if (std::isnan (stored))
        EXPECT_TRUE (std::isnan (s.getTimeRatio()));
    else
        EXPECT_EQ (s.getTimeRatio(), stored);
    EXPECT_EQ (s.getStretcher()->getTimeRatio(), givenTime);
    EXPECT_EQ (s.getStretcher()->getPitchScale(), givenPitch);
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
    Tone tone;
    TimeStretcher s;
    s.prepare (block, 2, rate);

    std::atomic<bool> running { true };
    std::atomic<long> edits { 0 };
    std::thread controls (
        [&]
        {
            juce::Random r (3);
            while (running)
            {
                s.setTimeRatio (0.5 + r.nextDouble());
                s.setPitchScale (0.5 + r.nextDouble() * 1.5);
                s.setOption ((TimeStretcher::Option) r.nextInt (TimeStretcher::numOptions), 1 + r.nextInt (3));
                ++edits;
                std::this_thread::sleep_for (std::chrono::milliseconds (2));
            }
        });

    juce::AudioBuffer<float> b (2, block);
    long blocks = 0;
    RealtimeWatch::reset();
    const auto deadline = juce::Time::getMillisecondCounter() + 3000;
    while (juce::Time::getMillisecondCounter() < deadline)
    {
        {
            RealtimeWatch::Scope watch;
            s.pull (tone, juce::AudioSourceChannelInfo (&b, 0, block));
        }
        ASSERT_LE (b.getMagnitude (0, block), 4.0f) << "block " << blocks;
        ++blocks;
    }
    running = false;
    controls.join();

    EXPECT_GT (edits.load(), 200);
    EXPECT_GT (blocks, 200);
    EXPECT_EQ (RealtimeWatch::locks(), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::wait), 0) << RealtimeWatch::report();
    EXPECT_EQ (RealtimeWatch::count (RealtimeWatch::Kind::io), 0) << RealtimeWatch::report();
}
