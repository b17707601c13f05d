#include "dsp/TruePeakInterpolator.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <algorithm>
#include <cmath>

#if JUCE_USE_SSE_INTRINSICS
#include <immintrin.h>
#endif

namespace Marlode
{

namespace
{
    // The zeroth-order modified Bessel function, for the Kaiser window.
    double besselI0 (double x) noexcept
    {
        auto sum = 1.0, term = 1.0;

        for (int k = 1; k < 32; ++k)
        {
            term *= (x / (2.0 * k)) * (x / (2.0 * k));
            sum += term;
        }

        return sum;
    }

    // Kaiser beta 7: side lobes near -70 dB, well below any peak that matters at a ceiling.
    constexpr double kaiserBeta = 7.0;
}

TruePeakInterpolator::TruePeakInterpolator()
{
    for (int k = 1; k < factor; ++k)
    {
        std::array<float, tapsPerPhase> taps {};
        const auto offset = (double) k / factor;
        auto sum = 0.0;

        for (int j = 0; j < tapsPerPhase; ++j)
        {
            // Tap j weighs the sample j pushes back; the point rebuilt lies `offset` of a sample
            // after the one `latency` pushes back, and the window is centred on that point.
            const auto distance = (double) j - latency + offset;
            const auto piD = juce::MathConstants<double>::pi * distance;
            const auto x = distance / (tapsPerPhase / 2.0);
            const auto window = besselI0 (kaiserBeta * std::sqrt (std::max (0.0, 1.0 - x * x))) / besselI0 (kaiserBeta);
            const auto tap = std::sin (piD) / piD * window;
            taps[(size_t) j] = (float) tap;
            sum += tap;
        }

        // Unity gain at DC, so a constant rebuilds as itself.
        for (auto& tap : taps)
            tap = (float) (tap / sum);

        for (int j = 0; j < tapsPerPhase; ++j)
            tapsByPosition[(size_t) (tapsPerPhase - 1 - j)][(size_t) (k - 1)] = taps[(size_t) j];
    }
}

void TruePeakInterpolator::prepare (int numChannels)
{
    histories.assign ((size_t) std::max (0, numChannels), History {});
}

void TruePeakInterpolator::reset() noexcept
{
    std::fill (histories.begin(), histories.end(), History {});
}

} // namespace Marlode
