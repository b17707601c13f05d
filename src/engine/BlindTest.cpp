#include "engine/BlindTest.h"

#include <algorithm>
#include <cmath>

namespace Marlode
{

BlindTest::BlindTest (int trials, std::uint64_t seed)
{
    std::mt19937_64 coin (seed);
    xs.resize ((size_t) std::clamp (trials, minTrials, maxTrials));

    // The top bit of each draw: the generator's best-mixed bit, one fair coin a trial.
    for (auto& x : xs)
        x = (coin() >> 63) != 0 ? Choice::b : Choice::a;
}

void BlindTest::answer (Choice xIs) noexcept
{
    if (isFinished())
        return;

    if (xIs == xs[(size_t) answered])
        ++correct;

    ++answered;
}

double BlindTest::guessProbability (int right, int trials) noexcept
{
    if (trials <= 0 || right <= 0)
        return 1.0;

    if (right > trials)
        return 0.0;

    // Exact in doubles for any count a run can have: C(20, 10) is far below 2^53.
    auto coefficient = 1.0, tail = 0.0;

    for (int k = 0; k <= trials; ++k)
    {
        if (k >= right)
            tail += coefficient;

        coefficient = coefficient * (trials - k) / (k + 1);
    }

    return tail / std::ldexp (1.0, trials);
}

} // namespace Marlode
