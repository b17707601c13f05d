#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The bookkeeping of a blind ABX comparison: for each trial X is A or B by a fair coin, the
    listener says which, and at the end the score is weighed against guessing.

    Message thread only.
*/
class BlindTest
{
public:
    static constexpr int minTrials = 10, maxTrials = 20;

    enum class Choice
    {
        a,
        b
    };

    /** A run of `trials` trials (brought within minTrials..maxTrials); the seed fixes the coin,
        so a test can repeat a run. */
    BlindTest (int trials, std::uint64_t seed);

    [[nodiscard]] int getTrials() const noexcept { return (int) xs.size(); }

    /** The trial being asked, from 0; getTrials() once all are answered. */
    [[nodiscard]] int getTrialIndex() const noexcept { return answered; }
    [[nodiscard]] bool isFinished() const noexcept { return answered == getTrials(); }

    /** What X is in the trial being asked. */
    [[nodiscard]] Choice getX() const noexcept { return xs[(size_t) (isFinished() ? answered - 1 : answered)]; }

    /** The listener's answer to the trial being asked; ignored once finished. */
    void answer (Choice xIs) noexcept;

    [[nodiscard]] int getCorrect() const noexcept { return correct; }

    /** The chance of `correct` or more right out of `trials` by guessing alone: the upper tail
        of the binomial distribution with p = 1/2. */
    [[nodiscard]] static double guessProbability (int correct, int trials) noexcept;

private:
    std::vector<Choice> xs;
    int answered = 0, correct = 0;
};

} // namespace Marlode
