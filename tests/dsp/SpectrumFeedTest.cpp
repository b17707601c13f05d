#include "dsp/SpectrumFeed.h"
#include "support/Alongside.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using Marlode::SpectrumFeed;
using MarlodeTest::RealtimeWatch;

namespace
{
constexpr int frameSize = SpectrumFeed::frameSize;
// Floats hold whole numbers exactly below 2^24; a ramp wraps at 2^23, a multiple of a frame.
constexpr int wrap = 1 << 23;

// Pushes the ramp 0, 1, 2 ... from `offset` into its block, on one channel or on two half a step
// above and below it: only their average is the ramp, and a frame tells which samples it holds.
struct Ramp
{
    SpectrumFeed& feed;
    int channels = 2;
    int next = 0;

    // `claimed` is the length the block says it has (its buffer holds only numSamples past offset).
    void push (int numSamples, int offset = 3, int claimed = 0)
    {
        auto block = MarlodeTest::makeBuffer (channels, offset + numSamples,
                                              [this, offset] (int c, int i)
                                              { return (float) (next + i - offset) + 0.5f * (float) (channels - 1 - 2 * c); });
        feed.push (juce::AudioSourceChannelInfo (&block, offset, juce::jmax (claimed, numSamples)));
        next += numSamples;
    }
};

// Whether the frame holds frameSize ramp samples from `first` on, then zeros.
::testing::AssertionResult holdsRamp (const float* frame, int first)
{
    if (frame == nullptr)
        return ::testing::AssertionFailure() << "no frame waits";
    for (int i = 0; i < 2 * frameSize; ++i)
        if (const auto expected = i < frameSize ? (float) ((first + i) % wrap) : 0.0f; frame[i] != expected)
            return ::testing::AssertionFailure() << "frame[" << i << "] is " << frame[i] << ", not " << expected;
    return ::testing::AssertionSuccess();
}

// Hands a frame back as the display's transform leaves it: written all over.
void handBack (SpectrumFeed& feed, float* frame)
{
    std::fill (frame, frame + 2 * frameSize, 7.0f);
    feed.releaseFrame();
}

::testing::AssertionResult takeRamp (SpectrumFeed& feed, int first)
{
    auto* frame = feed.takeFrame();
    const auto result = holdsRamp (frame, first);
    if (frame != nullptr)
        handBack (feed, frame);
    return result;
}
} // namespace

TEST (SpectrumFeed, FramesAreTheAverageOfTheSamplesPushedWhateverTheBlocks)
{
    SpectrumFeed feed;
    Ramp ramp { feed };
    ramp.push (3 * frameSize);
    EXPECT_EQ (feed.takeFrame(), nullptr) << "an unprepared feed takes nothing";

    feed.prepare (48000.0, 256);
    ramp.next = 0;

    // Odd sizes, blocks longer than the prepared 256, empty blocks and blocks without channels.
    const int sizes[] = { 1, 7, 255, 256, 1000, 0, 333, 2047, 257, 1, 511 };
    juce::AudioBuffer<float> noChannels (0, 64);
    int frames = 0;
    while (ramp.next < 40 * frameSize)
        for (const auto size : sizes)
        {
            ramp.push (size);
            feed.push (juce::AudioSourceChannelInfo (noChannels));
            if (ramp.next / frameSize > frames)
                ASSERT_TRUE (takeRamp (feed, frames++ * frameSize)) << "a frame waits as soon as its last sample is in";
            ASSERT_EQ (feed.takeFrame(), nullptr) << "and not before";
        }
}

TEST (SpectrumFeed, AFrameCompletedWhileOneWaitsIsDroppedAndFramesNeverOverlap)
{
    SpectrumFeed feed;
    feed.prepare (44100.0, 512);
    Ramp ramp { feed, 1 };

    ramp.push (frameSize);
    ramp.push (frameSize + 100); // one whole frame dropped, 100 samples of the next collected
    ASSERT_TRUE (takeRamp (feed, 0)) << "the waiting frame is left alone";
    ramp.push (frameSize - 101);
    EXPECT_EQ (feed.takeFrame(), nullptr);
    ramp.push (1);
    EXPECT_TRUE (takeRamp (feed, 2 * frameSize)) << "the next frame starts where the dropped one ended";

    // A new preparation forgets both the waiting frame and the samples collected.
    ramp.push (frameSize + 100);
    feed.prepare (44100.0, 512);
    EXPECT_EQ (feed.takeFrame(), nullptr);
    const auto restart = ramp.next;
    ramp.push (frameSize);
    EXPECT_TRUE (takeRamp (feed, restart));

    // A block claiming more samples than its buffer holds gives only those it holds.
    ramp.push (100, 0, 100000);
    ramp.push (frameSize - 100);
    EXPECT_TRUE (takeRamp (feed, restart + frameSize));
}

// The audio thread pushes a ramp as fast as it can while the display takes, scribbles over and
// hands back frames: every frame must be one whole run of the ramp, started on a frame boundary,
// and the pushes must neither allocate nor lock.
TEST (SpectrumFeed, FramesCrossBetweenThreadsWhole)
{
    SpectrumFeed feed;
    feed.prepare (48000.0, 512);
    juce::AudioBuffer<float> block (2, 512);
    const int sizes[] = { 512, 441, 13, 256, 511 };
    int next = 0, pushes = 0, frames = 0, broken = 0;

    RealtimeWatch::reset();
    MarlodeTest::runAlongside (
        2000,
        [&]
        {
            const auto size = sizes[pushes++ % 5];
            for (int i = 0; i < size; ++i, next = (next + 1) % wrap)
                for (int c = 0; c < 2; ++c)
                    block.setSample (c, i, (float) next);
            RealtimeWatch::Scope watch;
            feed.push (juce::AudioSourceChannelInfo (&block, 0, size));
        },
        [&]
        {
            auto* frame = feed.takeFrame();
            if (frame == nullptr)
                return std::this_thread::yield();
            broken += (int) frame[0] % frameSize == 0 && holdsRamp (frame, (int) frame[0]) ? 0 : 1;
            handBack (feed, frame);
            ++frames;
        });

    EXPECT_EQ (broken, 0) << "of " << frames << " frames";
    EXPECT_GT (frames, 50);
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0");
}
