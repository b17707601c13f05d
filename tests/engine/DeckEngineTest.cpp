#include "engine/MasterEngine.h"
#include "support/FakeDevice.h"
#include "support/StretchTone.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr int block = 512;
constexpr double rate = 44100.0;

// Sample i of channel c is distinct over the whole track, so any sample out of place shows.
juce::AudioBuffer<float> ramp (int numSamples, float offset = 0.0f)
{
    return makeBuffer (2, numSamples,
                       [=] (int c, int i)
                       { return (c ? -1.0f : 1.0f) * (offset + 0.1f + 0.8f * (float) i / (float) numSamples); });
}

// `numSamples` of a constant `v` on both channels.
juce::AudioBuffer<float> level (float v, int numSamples)
{
    return makeBuffer (2, numSamples, [v] (int, int) { return v; });
}

// A stage that shows where it ran: it scales the block and counts its calls.
struct Stage : BlockProcessor
{
    explicit Stage (float g) : gain (g) {}
    void prepare (double r, int, int) override { preparedRate = r; }
    void process (const juce::AudioSourceChannelInfo& info) noexcept override
    {
        info.buffer->applyGain (info.startSample, info.numSamples, gain);
        ++calls;
    }
    float gain;
    double preparedRate = 0.0;
    int calls = 0;
};

// One deck engine playing a track from memory, driven block by block with no device: what a
// render or a test does.
struct Deck
{
    explicit Deck (juce::AudioBuffer<float> audio) : signal (std::move (audio))
    {
        thread.startThread();
        engine.prepare (block, rate);
        engine.transport.setSource (&source, 32768, &thread, rate);
        engine.markers.resetForTrack (engine.transport.getLengthInSeconds());
        engine.setHasTrack (true);
    }

    ~Deck()
    {
        engine.transport.setSource (nullptr, 0, nullptr, 0.0);
        thread.stopThread (1000);
    }

    void play()
    {
        engine.transport.start();
        engine.setPlayState (TransportState::Playing);
    }

    juce::AudioBuffer<float> signal;
    juce::MemoryAudioSource source { signal, false };
    juce::TimeSliceThread thread { "Read Ahead Buffer Thread" };
    DeckEngine engine;
};

juce::AudioBuffer<float> run (const std::function<void (const juce::AudioSourceChannelInfo&)>& path, int blocks)
{
    juce::AudioBuffer<float> out (2, block * blocks);
    for (int b = 0; b < blocks; ++b)
        path (juce::AudioSourceChannelInfo (&out, b * block, block));
    return out;
}
}

TEST (DeckEngine, PlaysTheFileExactlyAndALoopWrapsToItsStartWithNoSilence)
{
    Deck deck (ramp (44100 * 4));
    auto& e = deck.engine;
    e.markers.setLoopEnd (1.0);
    e.markers.setLoopStart (0.5);
    e.markers.setLoopOn (true);
    run ([&] (const auto& info) { e.process (info); }, 1); // stopped: silence, and the cue points named
    ASSERT_TRUE (pumpUntil ([&] { return e.transport.isCueReady (0.5) && e.transport.getNumBufferedSamples() > 16384; }, 3000));
    deck.play();

    // 2.5 s of blocks: the loop (0.5 s) comes round several times. At about a device's pace (a
    // block is 11.6 ms), so that the read-ahead keeps ahead as it does for a device.
    const auto out = run (
        [&] (const auto& info)
        {
            juce::Thread::sleep (8);
            e.process (info);
        },
        216);

    // Every sample is the file's, in order; each wrap lands exactly on the loop's start sample,
    // after the block in which the end was passed.
    int expected = 0, wraps = 0;
    const int loopStart = 22050, loopEnd = 44100;
    for (int i = 0; i < out.getNumSamples(); ++i)
    {
        if (i % block == 0 && expected >= loopEnd)
        {
            expected = loopStart;
            ++wraps;
        }
        ASSERT_EQ (out.getSample (0, i), deck.signal.getSample (0, expected)) << "output sample " << i;
        ASSERT_EQ (out.getSample (1, i), deck.signal.getSample (1, expected)) << "output sample " << i;
        ++expected;
    }
    EXPECT_GE (wraps, 3);
    EXPECT_LT (e.getPosition(), 1.0 + block / rate);
    EXPECT_GT (e.outputMeter.display (0).peak.load(), -70.0f) << "the meters measured the blocks";
}

TEST (DeckEngine, StagesRunInOrderOnlyWhilePlayingAndWithoutATrackTheBlockIsSilent)
{
    Deck deck (level (0.5f, 44100));
    auto& e = deck.engine;
    Stage eq (0.5f), fx (0.5f), limiter (2.0f);
    e.setStages (&eq, &fx, &limiter);
    e.prepare (block, rate);
    EXPECT_EQ (limiter.preparedRate, rate);
    ASSERT_TRUE (pumpUntil ([&] { return e.transport.getNumBufferedSamples() > 4096; }, 3000));

    // Starting: the transport sounds, the stages rest.
    e.transport.start();
    e.setPlayState (TransportState::Starting);
    auto out = run ([&] (const auto& info) { e.process (info); }, 1);
    EXPECT_EQ (out.getSample (0, 100), 0.5f);
    EXPECT_EQ (eq.calls + fx.calls + limiter.calls, 0);

    e.setPlayState (TransportState::Playing);
    out = run ([&] (const auto& info) { e.process (info); }, 1);
    EXPECT_FLOAT_EQ (out.getSample (0, 100), 0.25f);
    EXPECT_EQ (eq.calls, 1);
    EXPECT_EQ (limiter.calls, 1);

    // The stretcher's switch with no stretcher made: silence, never what the buffer held.
    e.timeStretchOn = true;
    auto stale = level (0.9f, block);
    e.setPlayState (TransportState::Stopped);
    e.process (juce::AudioSourceChannelInfo (&stale, 0, block));
    EXPECT_EQ (stale.getMagnitude (0, block), 0.0f);
    e.timeStretchOn = false;

    e.setHasTrack (false);
    stale = level (0.9f, block);
    e.process (juce::AudioSourceChannelInfo (&stale, 0, block));
    EXPECT_EQ (stale.getMagnitude (0, block), 0.0f);
}

// A deck playing through a stretcher told these ratios.
struct StretchedDeck : Deck
{
    StretchedDeck (juce::AudioBuffer<float> audio, double timeRatio, double pitchScale) : Deck (std::move (audio))
    {
        stretcher.setTimeRatio (timeRatio);
        stretcher.setPitchScale (pitchScale);
        engine.setStretcher (&stretcher);
        engine.prepare (block, rate);
        engine.timeStretchOn = true;
        EXPECT_TRUE (pumpUntil ([&] { return engine.transport.getNumBufferedSamples() > 16384; }, 3000));
        play();
    }
    ~StretchedDeck() { engine.setStretcher (nullptr); }
    TimeStretcher stretcher;
};

struct Stretch
{
    double timeRatio, pitchScale, heardHz;
};

using DeckEngineStretch = ::testing::TestWithParam<Stretch>;

TEST_P (DeckEngineStretch, A1kHzToneLastsAndSoundsAsTheStretcherIsToldAtDevicePace)
{
    const auto [timeRatio, pitchScale, heardHz] = GetParam();
    const int length = (int) rate * 4;
    StretchedDeck deck (makeBuffer (2, length, sine (1000.0, rate)), timeRatio, pitchScale);
    auto& e = deck.engine;

    // Blocks at about a device's pace until the whole file has been read.
    std::vector<float> heard;
    const int limit = (int) (2.0 * length * timeRatio / block) + 100;
    juce::AudioBuffer<float> out (2, block);
    while (e.transport.getNextReadPosition() < e.transport.getTotalLength() && (int) heard.size() < limit * block)
    {
        juce::Thread::sleep (8);
        e.process (juce::AudioSourceChannelInfo (&out, 0, block));
        heard.insert (heard.end(), out.getReadPointer (0), out.getReadPointer (0) + block);
    }

    const double expected = length * timeRatio;
    EXPECT_NEAR ((double) heard.size(), expected, 0.06 * expected) << "samples heard for the whole file";

    const std::vector<float> middle (heard.begin() + (long) heard.size() / 4, heard.end() - (long) heard.size() / 4);
    const auto power = [&] (double hz) { return bandPower (middle, rate, hz - 60.0, hz + 60.0); };
    EXPECT_GT (power (heardHz), 1000.0 * power (heardHz == 1000.0 ? 2000.0 : 1000.0));
    EXPECT_GT (power (heardHz), 1000.0 * power (heardHz * 1.5));
    EXPECT_EQ (longestZeroRun (middle), 0);
}

INSTANTIATE_TEST_SUITE_P (Stretches, DeckEngineStretch,
                          ::testing::Values (Stretch { 0.5, 1.0, 1000.0 }, Stretch { 1.0, 2.0, 2000.0 },
                                             Stretch { 1.5, 1.0, 1000.0 }));

TEST (DeckEngine, ADeviceRateChangeRebuildsTheStretcherWithItsRatios)
{
    StretchedDeck deck (ramp (44100 * 2), 0.5, 1.5);
    run ([&] (const auto& info) { deck.engine.process (info); }, 20);
    ASSERT_GT (deck.stretcher.getStretcher()->available(), 0);

    deck.engine.prepare (block, 48000.0);
    auto* rebuilt = deck.stretcher.getStretcher();
    EXPECT_EQ (rebuilt->available(), 0) << "a new stretcher holds no audio";
    EXPECT_EQ (rebuilt->getChannelCount(), (size_t) DeckEngine::numChannels);
    EXPECT_EQ (rebuilt->getTimeRatio(), 0.5);
    EXPECT_EQ (rebuilt->getPitchScale(), 1.5);
}

TEST (MasterEngine, OneDeckPerBlockHandsOverUntilTheStopLandsThenTheMasterStages)
{
    Deck a (level (0.25f, 44100 * 5)), b (level (0.5f, 44100 * 5));
    MasterEngine master;
    Stage masterEQ (2.0f);
    master.setEqualiser (&masterEQ);
    master.prepare (block, rate);
    ASSERT_TRUE (pumpUntil (
        [&] { return a.engine.transport.getNumBufferedSamples() > 4096 && b.engine.transport.getNumBufferedSamples() > 4096; },
        3000));
    auto sound = [&] { return run ([&] (const auto& info) { master.process (info); }, 1).getSample (0, 300); };

    master.selectDeck (&a.engine);
    a.play();
    b.play();
    EXPECT_FLOAT_EQ (sound(), 0.5f) << "deck A through the master equaliser, never A and B summed";

    // B becomes current while A plays: A keeps the output until its stop has faded.
    master.selectDeck (&b.engine);
    EXPECT_EQ (master.getPreviousDeck(), &a.engine);
    EXPECT_FLOAT_EQ (sound(), 0.5f);
    a.engine.setPlayState (TransportState::Pausing);
    {
        FakeDevice device ([&] (const juce::AudioSourceChannelInfo& info) { master.process (info); });
        a.engine.transport.stop();
    }
    a.engine.setPlayState (TransportState::Paused);
    sound();
    EXPECT_EQ (master.getPreviousDeck(), nullptr);
    EXPECT_FLOAT_EQ (sound(), 1.0f) << "now deck B";

    // While the deck list changes, silence; mute and balance act after the decks.
    {
        const MasterEngine::DeckListChange change (master);
        EXPECT_EQ (sound(), 0.0f);
    }
    master.gainStage.setGain (0.5);
    EXPECT_FLOAT_EQ (sound(), 0.5f);
    master.gainStage.setMuted (true);
    EXPECT_EQ (sound(), 0.0f);
    EXPECT_EQ (master.levels.getLevelDb (0), MasterLevelMeasurement::floorDb);
}
