#include "dsp/SpectrumFeed.h"
#include "support/RealtimeWatch.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <thread>

using Marlode::SpectrumFeed;
using MarlodeTest::RealtimeWatch;

namespace
{
constexpr int frameSize = SpectrumFeed::frameSize;

// Pushes the ramp 0, 1, 2 ... on every channel from `offset` into its block: the average is the
// ramp again, and a frame tells which samples it holds.
struct Ramp
{
    SpectrumFeed& feed;
    int channels = 2;
    int next = 0;

    void push (int numSamples, int offset = 3)
    {
        auto block = MarlodeTest::makeBuffer (channels, offset + numSamples,
                                              [this, offset] (int, int i) { return (float) (next + i - offset); });
        feed.push (juce::AudioSourceChannelInfo (&block, offset, numSamples));
        next += numSamples;
    }
};

// Whether the frame holds frameSize ramp samples from `first` on, then zeros.
::testing::AssertionResult holdsRamp (const float* frame, int first)
{
    if (frame == nullptr)
        return ::testing::AssertionFailure() << "no frame waits";
    for (int i = 0; i < 2 * frameSize; ++i)
        if (const auto expected = i < frameSize ? (float) (first + i) : 0.0f; frame[i] != expected)
            return ::testing::AssertionFailure() << "frame[" << i << "] is " << frame[i] << ", not " << expected;
    return ::testing::AssertionSuccess();
}

// What the display's transform does to a frame before handing it back.
void scribble (float* frame)
{
    std::fill (frame, frame + 2 * frameSize, 7.0f);
}
}

TEST (SpectrumFeed, AFrameIsTheAverageOfTheChannels)
{
    SpectrumFeed feed;
    feed.prepare (44100.0, frameSize);

    for (const auto channels : { 1, 2 })
    {
        auto block = MarlodeTest::makeBuffer (channels, frameSize, MarlodeTest::noise);
        feed.push (juce::AudioSourceChannelInfo (block));
        auto* frame = feed.takeFrame();
        ASSERT_NE (frame, nullptr);

        for (int i = 0; i < frameSize; ++i)
            ASSERT_EQ (frame[i],
                       channels == 1 ? block.getSample (0, i) : 0.5f * (block.getSample (0, i) + block.getSample (1, i)))
                << channels << " channels, sample " << i;

        scribble (frame);
        feed.releaseFrame();
    }

    // The transform used the whole frame; the next one has its zeros again.
    Ramp ramp { feed };
    ramp.push (frameSize);
    EXPECT_TRUE (holdsRamp (feed.takeFrame(), 0));
}

TEST (SpectrumFeed, FramesAreTheSamplesPushedWhateverTheBlocks)
{
    SpectrumFeed feed;
    Ramp ramp { feed };
    ramp.push (3 * frameSize);
    EXPECT_EQ (feed.takeFrame(), nullptr) << "an unprepared feed takes nothing";

    feed.prepare (48000.0, 256);
    EXPECT_EQ (feed.getSampleRate(), 48000.0);
    ramp.next = 0;

    // Odd sizes, blocks longer than the prepared 256, empty blocks and blocks without channels.
    const int sizes[] = { 1, 7, 255, 256, 1000, 0, 333, 2047, 257, 1, 511 };
    juce::AudioBuffer<float> noChannels (0, 64);
    int expectedFirst = 0, frames = 0;

    while (ramp.next < 40 * frameSize)
    {
        for (const auto size : sizes)
        {
            ramp.push (size);
            feed.push (juce::AudioSourceChannelInfo (noChannels));

            if (auto* frame = feed.takeFrame())
            {
                ASSERT_TRUE (holdsRamp (frame, expectedFirst)) << "frame " << frames;
                scribble (frame);
                feed.releaseFrame();
                expectedFirst += frameSize;
                ++frames;
            }
            ASSERT_EQ (frames, ramp.next / frameSize) << "a frame waits as soon as its last sample is in";
        }
    }
}

TEST (SpectrumFeed, AFrameCompletedWhileOneWaitsIsDroppedAndFramesNeverOverlap)
{
    SpectrumFeed feed;
    feed.prepare (44100.0, 512);
    Ramp ramp { feed, 1 };

    ramp.push (frameSize);
    ramp.push (frameSize + 100); // one whole frame dropped, 100 samples of the next collected
    auto* frame = feed.takeFrame();
    ASSERT_TRUE (holdsRamp (frame, 0)) << "the waiting frame is left alone";
    scribble (frame);
    feed.releaseFrame();

    ramp.push (frameSize - 101);
    EXPECT_EQ (feed.takeFrame(), nullptr);
    ramp.push (1);
    EXPECT_TRUE (holdsRamp (feed.takeFrame(), 2 * frameSize)) << "the next frame starts where the dropped one ended";
    feed.releaseFrame();

    // A new preparation forgets both the waiting frame and the samples collected.
    ramp.push (frameSize + 100);
    feed.prepare (44100.0, 512);
    EXPECT_EQ (feed.takeFrame(), nullptr);
    const auto restart = ramp.next;
    ramp.push (frameSize);
    EXPECT_TRUE (holdsRamp (feed.takeFrame(), restart));
    feed.releaseFrame();

    // A block claiming more samples than its buffer holds gives only those it holds.
    auto shortBlock = MarlodeTest::makeBuffer (1, 100, [&] (int, int i) { return (float) (ramp.next + i); });
    feed.push (juce::AudioSourceChannelInfo (&shortBlock, 0, 100000));
    ramp.next += 100;
    ramp.push (frameSize - 100);
    EXPECT_TRUE (holdsRamp (feed.takeFrame(), restart + frameSize));
}

// The audio thread pushes a ramp as fast as it can while the display takes, scribbles over and
// hands back frames: every frame must be one whole run of the ramp, started on a frame boundary,
// and the pushes must neither allocate nor lock.
TEST (SpectrumFeed, FramesCrossBetweenThreadsWhole)
{
    SpectrumFeed feed;
    feed.prepare (48000.0, 512);

    // Floats hold whole numbers exactly below 2^24; the ramp wraps at 2^23, a multiple of a frame.
    constexpr int wrap = 1 << 23;
    std::atomic<bool> running { true }; // cleared by the test's thread, read by the pushing one

    RealtimeWatch::reset();
    std::thread audio (
        [&]
        {
            juce::AudioBuffer<float> block (2, 512);
            const int sizes[] = { 512, 441, 13, 256, 511 };
            int next = 0;

            for (long n = 0; running.load (std::memory_order_relaxed); ++n)
            {
                const auto size = sizes[n % 5];
                for (int i = 0; i < size; ++i)
                {
                    block.setSample (0, i, (float) next);
                    block.setSample (1, i, (float) next);
                    next = (next + 1) % wrap;
                }

                RealtimeWatch::Scope watch;
                feed.push (juce::AudioSourceChannelInfo (&block, 0, size));
            }
        });

    int frames = 0, broken = 0;
    const auto end = juce::Time::getMillisecondCounter() + 2000;

    while (juce::Time::getMillisecondCounter() < end)
    {
        auto* frame = feed.takeFrame();
        if (frame == nullptr)
        {
            std::this_thread::yield();
            continue;
        }

        const auto first = (int) frame[0];
        bool whole = first % frameSize == 0;
        for (int i = 1; i < 2 * frameSize && whole; ++i)
            whole = frame[i] == (i < frameSize ? (float) ((first + i) % wrap) : 0.0f);

        broken += whole ? 0 : 1;
        scribble (frame);
        feed.releaseFrame();
        ++frames;
    }

    running = false;
    audio.join();

    EXPECT_EQ (broken, 0) << "of " << frames << " frames";
    EXPECT_GT (frames, 50);
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0");
}
