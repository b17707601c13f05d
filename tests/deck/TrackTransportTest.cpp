#include "deck/TrackTransport.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
    constexpr int block = 512;

    // A known signal: sample i of channel c is a distinct ramp value, so any sample out of place shows.
    juce::AudioBuffer<float> rampSignal (int numSamples)
    {
        juce::AudioBuffer<float> b (2, numSamples);
        for (int i = 0; i < numSamples; ++i)
        {
            b.setSample (0, i, (float) (i % 10007) / 10007.0f);
            b.setSample (1, i, -(float) (i % 9973) / 9973.0f);
        }
        return b;
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

        // Plays `audio` from now on; the fixture keeps it until the transport has let go.
        juce::MemoryAudioSource& play (juce::AudioBuffer<float> audio)
        {
            signal = std::move (audio);
            source = std::make_unique<juce::MemoryAudioSource> (signal, false);
            return *source;
        }

        void waitForBuffer (int atLeast = block * 4)
        {
            ASSERT_TRUE (pumpUntil ([&] { return transport.getNumBufferedSamples() >= atLeast; }, 3000));
        }

        // Runs one device block and returns it.
        const juce::AudioBuffer<float>& pull()
        {
            out.clear();
            transport.getNextAudioBlock (juce::AudioSourceChannelInfo (&out, 0, block));
            return out;
        }
    };
}

TEST_F (TransportFixture, PlaysTheSourceBitForBitAtTheSameRate)
{
    auto& src = play (rampSignal (block * 40));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 44100.0);
    waitForBuffer (block * 20);

    // Stopped: silence and no movement.
    pull();
    EXPECT_EQ (out.getMagnitude (0, block), 0.0f);
    EXPECT_EQ (transport.getNextReadPosition(), 0);

    transport.start();
    ASSERT_TRUE (transport.isPlaying());

    for (int b = 0; b < 10; ++b)
    {
        pull();
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < block; ++i)
                ASSERT_EQ (out.getSample (c, i), signal.getSample (c, b * block + i)) << "block " << b << " sample " << i;
    }

    EXPECT_EQ (transport.getNextReadPosition(), 10 * block);
    EXPECT_DOUBLE_EQ (transport.getCurrentPosition(), 10.0 * block / 44100.0);
}

TEST_F (TransportFixture, SeekReportsAtOnceAndPlaysFromTheExactSample)
{
    auto& src = play (rampSignal (44100 * 2));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 44100.0);
    waitForBuffer();
    transport.start();
    pull();

    const juce::int64 target = 60000;
    transport.setNextReadPosition (target);
    EXPECT_EQ (transport.getNextReadPosition(), target);

    // Silence until the read-ahead has refilled from the new place, then the exact samples.
    int firstSounding = -1;
    for (int b = 0; b < 200 && firstSounding < 0; ++b)
    {
        juce::Thread::sleep (2);
        pull();
        if (out.getMagnitude (0, 0, block) > 0.0f)
            firstSounding = b;
        else
            EXPECT_EQ (transport.getNextReadPosition(), target);
    }

    ASSERT_GE (firstSounding, 0);
    for (int i = 0; i < block; ++i)
        ASSERT_EQ (out.getSample (0, i), signal.getSample (0, (int) target + i));
}

TEST_F (TransportFixture, ResamplesToTheDeviceRateAndReportsDevicePositions)
{
    // A 1 kHz tone at 48 kHz played on a 44.1 kHz device must still be 1 kHz.
    const int sourceLength = 48000;
    juce::AudioBuffer<float> tone (2, sourceLength);
    for (int i = 0; i < sourceLength; ++i)
        for (int c = 0; c < 2; ++c)
            tone.setSample (c, i, (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * 1000.0 * i / 48000.0)));

    auto& src = play (std::move (tone));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 48000.0);
    EXPECT_EQ (transport.getTotalLength(), 44100);
    EXPECT_NEAR (transport.getLengthInSeconds(), 1.0, 1e-9);

    waitForBuffer (block * 41);
    transport.start();

    int crossings = 0;
    float previous = 0.0f;
    const int blocks = 40;
    for (int b = 0; b < blocks; ++b)
    {
        pull();
        for (int i = 0; i < block; ++i)
        {
            const auto s = out.getSample (0, i);
            if (b > 2 && previous < 0.0f && s >= 0.0f)
                ++crossings;
            previous = s;
        }
    }

    const auto seconds = (double) (blocks - 3) * block / 44100.0;
    EXPECT_NEAR (crossings / seconds, 1000.0, 15.0);
    EXPECT_NEAR ((double) transport.getNextReadPosition(), (double) blocks * block, 2.0);
}

TEST_F (TransportFixture, StopFadesOutOneBlockThenHoldsThePosition)
{
    juce::AudioBuffer<float> dc (2, 44100);
    dc.clear();
    for (int c = 0; c < 2; ++c)
        juce::FloatVectorOperations::fill (dc.getWritePointer (c), 0.5f, dc.getNumSamples());

    auto& src = play (std::move (dc));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 44100.0);
    waitForBuffer();
    transport.start();
    pull();
    pull();

    // stop() waits for the audio thread, so the device must keep running meanwhile.
    std::atomic<bool> running { true };
    std::vector<float> firstAfterStop;
    std::thread device ([&]
                        {
                            juce::AudioBuffer<float> b (2, block);
                            while (running)
                            {
                                b.clear();
                                const bool wasPlaying = transport.isPlaying();
                                transport.getNextAudioBlock (juce::AudioSourceChannelInfo (&b, 0, block));
                                if (! wasPlaying && firstAfterStop.empty())
                                    firstAfterStop.assign (b.getReadPointer (0), b.getReadPointer (0) + block);
                                juce::Thread::sleep (1);
                            }
                        });

    juce::Thread::sleep (20);
    transport.stop();
    const auto stoppedAt = transport.getNextReadPosition();
    juce::Thread::sleep (20);
    running = false;
    device.join();

    EXPECT_FALSE (transport.isPlaying());
    EXPECT_EQ (transport.getNextReadPosition(), stoppedAt);
    EXPECT_GT (stoppedAt, 0);

    // The first block seen after the stop is either the faded one or already silent; never a cut.
    ASSERT_EQ ((int) firstAfterStop.size(), block);
    for (int i = 256; i < block; ++i)
        EXPECT_EQ (firstAfterStop[(size_t) i], 0.0f);
    for (int i = 1; i < 256; ++i)
        EXPECT_LE (firstAfterStop[(size_t) i], firstAfterStop[(size_t) i - 1]);
}

TEST_F (TransportFixture, EndOfStreamStopsAndTellsTheMessageThread)
{
    auto& src = play (rampSignal (block * 3 + 100));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 44100.0);
    waitForBuffer (block * 4);

    struct Counter : juce::ChangeListener
    {
        int count = 0;
        void changeListenerCallback (juce::ChangeBroadcaster*) override { ++count; }
    } counter;
    transport.addChangeListener (&counter);

    transport.start();
    pumpMessages (20);
    const auto afterStart = counter.count;
    EXPECT_GE (afterStart, 1);

    for (int b = 0; b < 6; ++b)
        pull();

    EXPECT_FALSE (transport.isPlaying());
    EXPECT_TRUE (transport.hasStreamFinished());
    ASSERT_TRUE (pumpUntil ([&] { return counter.count > afterStart; }, 1000));
    transport.removeChangeListener (&counter);

    // Past the end only silence comes, and a seek back makes the stream unfinished again.
    pull();
    EXPECT_EQ (out.getMagnitude (0, block), 0.0f);
    transport.setNextReadPosition (0);
    EXPECT_FALSE (transport.hasStreamFinished());
}

TEST_F (TransportFixture, ANewDeviceRateKeepsThePosition)
{
    auto& src = play (rampSignal (44100 * 2));
    transport.prepareToPlay (block, 44100.0);
    transport.setSource (&src, 32768, &thread, 44100.0);
    transport.setNextReadPosition (22050);

    transport.prepareToPlay (block, 88200.0);
    EXPECT_EQ (transport.getSampleRate(), 88200.0);
    EXPECT_NEAR (transport.getCurrentPosition(), 0.5, 1e-4);
    EXPECT_NEAR (transport.getLengthInSeconds(), 2.0, 1e-4);
}

TEST_F (TransportFixture, ADeviceRestartDuringASourceChangeIsSafe)
{
    // The device layer may re-prepare from its own thread while the message thread swaps sources.
    auto audio = rampSignal (block * 64);
    std::atomic<bool> running { true };
    std::thread device ([&]
                        {
                            for (int i = 0; running.load(); ++i)
                                transport.prepareToPlay (block, i % 2 == 0 ? 44100.0 : 48000.0);
                        });

    for (int i = 0; i < 3000; ++i)
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
