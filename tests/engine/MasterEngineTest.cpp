#include "engine/MasterEngine.h"
#include "support/EngineDeck.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr int block = 512;
constexpr double rate = 44100.0;

struct Master
{
    Master() { engine.prepare (block, rate); }

    // `blocks` blocks of `size` samples, one after another.
    juce::AudioBuffer<float> run (int blocks, int size = block)
    {
        juce::AudioBuffer<float> out (2, blocks * size);
        for (int b = 0; b < blocks; ++b)
            engine.process ({ &out, b * size, size });
        return out;
    }

    MasterEngine engine;
};

auto constant (float v)
{
    return makeBuffer (2, (int) rate * 5, [v] (int, int) { return v; });
}

// A sweep that never repeats a sample, so a place out of order shows.
juce::AudioBuffer<float> sweepFor (double seconds)
{
    return makeBuffer (2, (int) (rate * seconds), [] (int c, int i) { return sweep (c, i, rate); });
}

int fadeSamples()
{
    return juce::roundToInt (MasterEngine::crossfadeMs * 0.001 * rate);
}
}

TEST (MasterEngine, ADecksMatchGainScalesItAndUnityLeavesEverySampleAsTheDeckPlaysIt)
{
    EngineDeck deck (sweepFor (2.0));
    Master master;
    master.engine.selectDeck (&deck.engine);
    deck.play();

    const auto unity = master.run (8);
    deck.engine.matchGain = 0.7f;
    const auto matched = master.run (8);

    for (int i = 0; i < unity.getNumSamples(); ++i)
        for (int c = 0; c < 2; ++c)
        {
            ASSERT_EQ (unity.getSample (c, i), deck.signal.getSample (c, i)) << i;
            ASSERT_EQ (matched.getSample (c, i), deck.signal.getSample (c, i + 8 * block) * 0.7f) << i;
        }
}

TEST (MasterEngine, ACrossfadeBetweenDecksAtTheSamePlaceNeitherGapsNorClicks)
{
    // The same sweep on both decks: a fade at the same place must give the sweep itself.
    EngineDeck a (sweepFor (4.0)), b (sweepFor (4.0));
    Master master;
    master.engine.selectDeck (&a.engine);
    a.play();
    auto before = master.run (10);

    b.engine.transport.setPosition (a.engine.getPosition());
    b.play();
    master.engine.crossfadeTo (&b.engine);
    EXPECT_EQ (master.engine.fadingDeck(), &a.engine);
    const auto after = master.run (10);
    EXPECT_EQ (master.engine.fadingDeck(), nullptr) << "the fade has ended";
    EXPECT_EQ (master.engine.getCurrentDeck(), &b.engine);

    for (int i = 0; i < after.getNumSamples(); ++i)
        for (int c = 0; c < 2; ++c)
            ASSERT_NEAR (after.getSample (c, i), a.signal.getSample (c, i + 10 * block), 1e-6f) << i;
    EXPECT_EQ (before.getSample (0, 0), a.signal.getSample (0, 0));
}

TEST (MasterEngine, ACrossfadeIsALinearRampOverItsLengthEvenAcrossLongDeviceBlocks)
{
    EngineDeck a (constant (0.5f)), b (constant (-0.5f));
    Master master;
    master.engine.selectDeck (&a.engine);
    a.play();
    b.play();
    master.run (2);

    // A device block four times longer than prepared: the fading deck goes through in pieces.
    master.engine.crossfadeTo (&b.engine);
    const auto out = master.run (1, 4 * block);
    const auto n = fadeSamples();
    for (int i = 0; i < out.getNumSamples(); ++i)
    {
        const auto in = std::min (1.0f, (float) (i + 1) / (float) n);
        ASSERT_NEAR (out.getSample (0, i), 0.5f * (1.0f - in) - 0.5f * in, 1e-6f) << i;
    }

    // Back again at once: the new fade starts from the top, from the deck now current.
    master.engine.crossfadeTo (&a.engine);
    const auto back = master.run (1);
    EXPECT_NEAR (back.getSample (0, 0), -0.5f + 1.0f / (float) n, 1e-6f);
    EXPECT_EQ (back.getSample (0, n), 0.5f);
}

TEST (MasterEngine, ForgettingTheDecksEndsAFadeSoNoFreedDeckIsPlayed)
{
    EngineDeck a (constant (0.5f)), b (constant (-0.5f));
    Master master;
    master.engine.selectDeck (&a.engine);
    a.play();
    master.engine.crossfadeTo (&b.engine);
    {
        MasterEngine::DeckListChange change (master.engine);
        master.engine.forgetDecks();
    }
    EXPECT_EQ (master.engine.fadingDeck(), nullptr);
    EXPECT_EQ (master.run (1).getMagnitude (0, block), 0.0f);
}
