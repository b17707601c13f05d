#include "engine/TrackTransport.h"
#include "support/FakeDevice.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr int block = 512;

// A known signal: sample i of channel c is a distinct ramp value, so any sample out of place shows.
juce::AudioBuffer<float> rampSignal (int numSamples)
{
    return makeBuffer (2, numSamples,
                       [] (int c, int i) { return c == 0 ? (float) (i % 10007) / 10007.0f : -(float) (i % 9973) / 9973.0f; });
}

// A stereo sine of `hz` recorded at `rate`.
juce::AudioBuffer<float> tone (double hz, double rate, int numSamples, double phase = 0.0)
{
    return makeBuffer (2, numSamples,
                       [=] (int, int i)
                       { return (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * hz * i / rate + phase)); });
}

struct TransportFixture : ::testing::Test
{
    juce::TimeSliceThread thread { "Read Ahead Buffer Thread" };
    juce::AudioBuffer<float> signal;
    std::unique_ptr<juce::MemoryAudioSource> source; // outlives the transport's use of it (TearDown)
    TrackTransport transport;
    juce::AudioBuffer<float> out { 2, block };

    void SetUp() override { thread.startThread(); }
    void TearDown() override
    {
        transport.setSource (nullptr, 0, nullptr, 0.0);
        thread.stopThread (1000);
    }

    // Gives the transport `audio`, recorded at `sourceRate`, on a 44.1 kHz device; the fixture
    // keeps it until the transport has let go.
    void load (juce::AudioBuffer<float> audio, double sourceRate = 44100.0)
    {
        signal = std::move (audio);
        source = std::make_unique<juce::MemoryAudioSource> (signal, false);
        transport.prepareToPlay (block, 44100.0);
        transport.setSource (source.get(), 32768, &thread, sourceRate);
    }

    void waitForBuffer (int atLeast = block * 4)
    {
        ASSERT_TRUE (pumpUntil ([&] { return transport.getNumBufferedSamples() >= atLeast; }, 3000));
    }

    void setCues (double loopStart, double replay, bool wrapAtEnd = false)
    {
        transport.setCuePoints (loopStart, replay, wrapAtEnd);
        const auto ready = [&] { return (loopStart < 0.0 || transport.isCueReady (loopStart)) && transport.isCueReady (replay); };
        ASSERT_TRUE (pumpUntil (ready, 2000));
    }

    // Runs one device block and returns it.
    const juce::AudioBuffer<float>& pull()
    {
        out.clear();
        transport.getNextAudioBlock (juce::AudioSourceChannelInfo (&out, 0, block));
        return out;
    }

    // `blocks` device blocks in a row, a millisecond apart, are the signal from `position` on.
    ::testing::AssertionResult playsFrom (juce::int64 position, int blocks);
};
}

// Every sample of `out` equals the signal from `position` on.
::testing::AssertionResult blockIsSignalAt (const juce::AudioBuffer<float>& out, const juce::AudioBuffer<float>& signal,
                                            juce::int64 position)
{
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < out.getNumSamples(); ++i)
            if (out.getSample (c, i) != signal.getSample (c, (int) position + i))
                return ::testing::AssertionFailure()
                       << "channel " << c << " sample " << i << " is not the signal's sample " << position + i;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult TransportFixture::playsFrom (juce::int64 position, int blocks)
{
    for (int b = 0; b < blocks; ++b, position += block, juce::Thread::sleep (1))
        if (auto result = blockIsSignalAt (pull(), signal, position); ! result)
            return result << " in block " << b;
    return ::testing::AssertionSuccess();
}

TEST_F (TransportFixture, AMessageThreadSeekSoundsInTheVeryNextBlock)
{
    load (rampSignal (44100 * 8));
    transport.start();
    ASSERT_TRUE (blockIsSignalAt (pull(), signal, 0)) << "a start right after the source change sounds at once";

    // Seeks with the ring in every state: full, half drained, refilling, and several in a row.
    juce::Random random (7);
    juce::int64 expected = block;

    for (int n = 0; n < 60; ++n)
    {
        const auto blocksBefore = random.nextInt (4);
        ASSERT_TRUE (playsFrom (expected, blocksBefore));
        expected += blocksBefore * block;

        const auto seeks = 1 + random.nextInt (3);
        for (int k = 0; k < seeks; ++k)
        {
            expected = random.nextInt (44100 * 7);
            transport.setPosition ((double) expected / 44100.0);
            expected = (juce::int64) ((double) expected / 44100.0 * 44100.0);
        }

        EXPECT_EQ (transport.getNextReadPosition(), expected);
        ASSERT_TRUE (blockIsSignalAt (pull(), signal, expected)) << "seek " << n;
        expected += block;
    }

    // Paused: seeks pile up without a block taking any of them; the start plays the last.
    transport.stop();
    for (int k = 0; k < 20; ++k)
        transport.setPosition (0.1 * k);

    transport.start();
    ASSERT_TRUE (blockIsSignalAt (pull(), signal, (juce::int64) (1.9 * 44100.0)));
}

TEST_F (TransportFixture, AWrapToACuePointSoundsInTheSameBlockAndAMovedCueIsDecodedAgain)
{
    // Loop wraps through the deck's block path are the deck engine's test; here the replay cue,
    // played on far past its decoded stretch into what the read-ahead adds, and a cue that moves.
    load (rampSignal (44100 * 8));
    const double replay = 0.25;
    const auto replaySample = (juce::int64) (replay * 44100.0);
    setCues (1.5, replay);
    transport.start();
    ASSERT_TRUE (playsFrom (0, 40));
    transport.setNextReadPosition (replaySample);
    EXPECT_EQ (transport.getNextReadPosition(), replaySample);
    ASSERT_TRUE (playsFrom (replaySample, 40));
    setCues (3.0, replay);
    transport.setNextReadPosition (3 * 44100);
    ASSERT_TRUE (blockIsSignalAt (pull(), signal, 3 * 44100));
}

TEST_F (TransportFixture, TheTrackEndWrapsToTheReplayPointWithinTheSameBlockOrEndsTheStream)
{
    const int total = 44100 * 2 + 300; // the end falls inside a block
    load (rampSignal (total));
    const double replay = 0.5;
    const auto replaySample = (juce::int64) (replay * 44100.0);
    setCues (-1.0, replay, true);

    transport.setPosition ((double) (total - 5 * block - 100) / 44100.0);
    auto position = transport.getNextReadPosition();
    transport.start();

    // What must be heard: the track's last samples, then the replay point's, with nothing between.
    for (int b = 0; b < 60; ++b)
    {
        pull();
        for (int i = 0; i < block; ++i, ++position)
        {
            if (position == total)
                position = replaySample;
            ASSERT_EQ (out.getSample (0, i), signal.getSample (0, (int) position)) << "block " << b << " sample " << i;
        }
        juce::Thread::sleep (1);
    }

    EXPECT_TRUE (transport.isPlaying());
    EXPECT_FALSE (transport.hasStreamFinished());

    // Without the wrap the end ends the stream, with silence after it, until a seek back.
    // That the message thread hears of the end is the track deck's test (Play-Next follows it).
    transport.setCuePoints (-1.0, replay, false);
    transport.setPosition ((double) (total - block) / 44100.0);
    for (int b = 0; b < 4; ++b)
        pull();
    EXPECT_FALSE (transport.isPlaying());
    EXPECT_TRUE (transport.hasStreamFinished());
    EXPECT_EQ (pull().getMagnitude (0, block), 0.0f) << "past the end only silence";
    transport.setNextReadPosition (0);
    EXPECT_FALSE (transport.hasStreamFinished());
}

TEST_F (TransportFixture, AWrapWithNoCueKeepsPlayingUntilTheNewPlaceIsThere)
{
    // No cue points: the audio already buffered must go on rather than a hole.
    load (rampSignal (44100 * 4));
    transport.start();
    waitForBuffer (block * 8);

    ASSERT_TRUE (playsFrom (0, 4));
    juce::int64 expected = 4 * block;
    transport.setNextReadPosition (88200);
    int oldBlocks = 0;

    for (int b = 0; b < 400; ++b)
    {
        pull();
        if (blockIsSignalAt (out, signal, 88200))
            break;

        ASSERT_TRUE (blockIsSignalAt (out, signal, expected)) << "neither the old place nor the new one at block " << b;
        expected += block;
        ++oldBlocks;
        juce::Thread::sleep (1);
    }

    EXPECT_LT (oldBlocks, 400) << "the new place never came";
}

TEST_F (TransportFixture, ResampledSeeksAndWrapsLeaveNoHole)
{
    // A 48 kHz tone on a 44.1 kHz device: a run of silent samples anywhere would be a hole.
    load (tone (441.0, 48000.0, 48000 * 4, 0.3), 48000.0);
    setCues (1.0, 0.5);
    transport.start();

    std::vector<float> played;
    juce::Random random (3);

    for (int b = 0; b < 300; ++b)
    {
        if (b % 25 == 10)
            transport.setNextReadPosition (44100); // the loop start, from the audio thread
        else if (b % 25 == 20)
            transport.setPosition (random.nextDouble() * 3.0);

        played.insert (played.end(), pull().getReadPointer (0), out.getReadPointer (0) + block);
        juce::Thread::sleep (1);
    }

    EXPECT_LT (longestZeroRun (played), 3);
}

TEST_F (TransportFixture, ResamplesToTheDeviceRateAndReportsDevicePositions)
{
    // A 1 kHz tone at 48 kHz played on a 44.1 kHz device must still be 1 kHz.
    load (tone (1000.0, 48000.0, 48000), 48000.0);
    EXPECT_EQ (transport.getTotalLength(), 44100);
    EXPECT_NEAR (transport.getLengthInSeconds(), 1.0, 1e-9);

    waitForBuffer (block * 41);
    transport.start();

    const int blocks = 40;
    std::vector<float> played;
    for (int b = 0; b < blocks; ++b)
        played.insert (played.end(), pull().getReadPointer (0), out.getReadPointer (0) + block);

    // Upward zero crossings after the first three blocks.
    int crossings = 0;
    for (size_t i = 3 * block; i < played.size(); ++i)
        crossings += played[i - 1] < 0.0f && played[i] >= 0.0f ? 1 : 0;

    const auto seconds = (double) (blocks - 3) * block / 44100.0;
    EXPECT_NEAR (crossings / seconds, 1000.0, 15.0);
    EXPECT_NEAR ((double) transport.getNextReadPosition(), (double) blocks * block, 2.0);
}

TEST_F (TransportFixture, StopFadesOutOneBlockThenHoldsThePosition)
{
    load (tone (0.0, 44100.0, 44100, juce::MathConstants<double>::halfPi)); // 0.5 throughout
    waitForBuffer();
    transport.start();
    pull();
    pull();

    // stop() waits for the audio thread, so the device must keep running meanwhile.
    std::vector<float> heard;
    juce::int64 stoppedAt = 0;
    {
        FakeDevice device (
            [&] (const juce::AudioSourceChannelInfo& info)
            {
                transport.getNextAudioBlock (info);
                heard.insert (heard.end(), info.buffer->getReadPointer (0), info.buffer->getReadPointer (0) + block);
            });
        juce::Thread::sleep (30);
        transport.stop();
        stoppedAt = transport.getNextReadPosition();
        juce::Thread::sleep (60);
    }

    EXPECT_FALSE (transport.isPlaying());
    EXPECT_EQ (transport.getNextReadPosition(), stoppedAt);
    EXPECT_GT (stoppedAt, 0);

    // From the first sample under the signal's level on, the output only falls, through the
    // levels between (a fade, never a cut), to silence that holds.
    const auto fall = std::find_if (heard.begin(), heard.end(), [] (float x) { return x < 0.45f; });
    ASSERT_NE (fall, heard.end()) << "the output never fell";
    EXPECT_TRUE (std::is_sorted (fall, heard.end(), std::greater<float>()));
    EXPECT_GT (std::count_if (fall, heard.end(), [] (float x) { return x > 0.01f && x < 0.49f; }), 100) << "a cut, not a fade";
    EXPECT_EQ (heard.back(), 0.0f);
}

TEST_F (TransportFixture, ANewDeviceRateKeepsThePosition)
{
    load (rampSignal (44100 * 2));
    transport.setNextReadPosition (22050);

    transport.prepareToPlay (block, 88200.0);
    EXPECT_NEAR (transport.getCurrentPosition(), 0.5, 1e-4);
    EXPECT_NEAR (transport.getLengthInSeconds(), 2.0, 1e-4);
}

TEST_F (TransportFixture, ADeviceRestartDuringASourceChangeIsSafe)
{
    // The device layer may re-prepare from its own thread while the message thread swaps sources.
    auto audio = rampSignal (block * 64);
    std::atomic<bool> running { true };
    std::thread device (
        [&]
        {
            // A restart takes the device a while; back to back they would starve the
            // message thread of the configuration lock.
            for (int i = 0; running.load(); ++i)
            {
                transport.prepareToPlay (block, i % 2 == 0 ? 44100.0 : 48000.0);
                std::this_thread::yield();
            }
        });

    for (int i = 0; i < 1000; ++i)
    {
        auto next = std::make_unique<juce::MemoryAudioSource> (audio, true);
        transport.setSource (next.get(), block * 8, &thread, 44100.0);
        source = std::move (next); // the previous source goes only after the transport let go of it
    }

    running.store (false);
    device.join();
    transport.prepareToPlay (block, 44100.0);
    transport.start();
    waitForBuffer();
    pull();
    EXPECT_GT (pull().getMagnitude (0, block), 0.0f) << "the last source plays";
}
