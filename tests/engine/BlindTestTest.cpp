#include "engine/BlindTest.h"

#include <gtest/gtest.h>

using Marlode::BlindTest;

TEST (BlindTest, XIsAFairCoinEachTrialAndTheSeedRepeatsARun)
{
    // 20,000 runs of 20 trials: A's share within 3.5 standard deviations of one half, and no
    // trial position leaning either way.
    constexpr int runs = 20000;
    std::array<int, BlindTest::maxTrials> aAt {};
    int a = 0;
    for (std::uint64_t seed = 1; seed <= runs; ++seed)
    {
        BlindTest test (BlindTest::maxTrials, seed);
        for (int t = 0; t < test.getTrials(); ++t)
        {
            const bool isA = test.getX() == BlindTest::Choice::a;
            a += isA ? 1 : 0;
            aAt[(size_t) t] += isA ? 1 : 0;
            test.answer (BlindTest::Choice::a);
        }
        EXPECT_TRUE (test.isFinished());
    }
    const auto total = runs * BlindTest::maxTrials;
    EXPECT_NEAR (a, total / 2, 3.5 * std::sqrt (total / 4.0));
    for (const auto n : aAt)
        EXPECT_NEAR (n, runs / 2, 3.5 * std::sqrt (runs / 4.0));

    BlindTest first (12, 99), again (12, 99);
    for (int t = 0; t < 12; ++t, first.answer (BlindTest::Choice::a), again.answer (BlindTest::Choice::a))
        EXPECT_EQ (first.getX(), again.getX());
}

TEST (BlindTest, TheScoreCountsRightAnswersWithinTheTrialLimits)
{
    EXPECT_EQ (BlindTest (3, 1).getTrials(), BlindTest::minTrials);
    EXPECT_EQ (BlindTest (50, 1).getTrials(), BlindTest::maxTrials);

    BlindTest test (10, 7);
    for (int t = 0; t < 10; ++t)
    {
        EXPECT_EQ (test.getTrialIndex(), t);
        const auto x = test.getX();
        // Right on even trials, wrong on odd ones.
        test.answer (t % 2 == 0 ? x : (x == BlindTest::Choice::a ? BlindTest::Choice::b : BlindTest::Choice::a));
    }
    EXPECT_TRUE (test.isFinished());
    test.answer (BlindTest::Choice::a);
    EXPECT_EQ (test.getCorrect(), 5);
    EXPECT_EQ (test.getTrialIndex(), 10);
}

TEST (BlindTest, TheChanceOfGuessingIsTheBinomialUpperTail)
{
    struct Row
    {
        int right, trials;
        double p;
    };
    for (const auto& r : { Row { 10, 10, 1.0 / 1024 }, Row { 9, 10, 11.0 / 1024 }, Row { 0, 16, 1.0 },
                           Row { 12, 16, 2517.0 / 65536 }, Row { 15, 20, 21700.0 / 1048576 }, Row { 20, 20, 1.0 / 1048576 },
                           Row { 11, 20, 431910.0 / 1048576 }, Row { 21, 20, 0.0 } })
        EXPECT_NEAR (BlindTest::guessProbability (r.right, r.trials), r.p, 1e-12) << r.right << " of " << r.trials;
}
