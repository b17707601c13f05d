#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#if JUCE_USE_SSE_INTRINSICS
#include <immintrin.h>
#endif

namespace Marlode
{

//==============================================================================
/**
    The highest magnitude a channel reaches between its samples, found by linear-phase
    windowed-sinc interpolation at four points per sample (three in between and the sample
    itself), one sample at a time: what a limiter needs to keep the reconstructed waveform,
    not only its samples, under a ceiling.

    Each answer belongs to the sample `latency` samples back, since the interpolator looks that
    far ahead of the point it rebuilds. prepare allocates; push does not.
*/
class TruePeakInterpolator
{
public:
    static constexpr int factor = 4;
    static constexpr int tapsPerPhase = 16;
    static constexpr int latency = tapsPerPhase / 2;
    static_assert ((tapsPerPhase & (tapsPerPhase - 1)) == 0, "the history ring wraps by a mask");

    TruePeakInterpolator();

    void prepare (int numChannels);
    void reset() noexcept;

    /** Takes a channel's next sample and returns the largest magnitude of the waveform from the
        sample `latency` pushes back up to (not including) the one after it. */
    [[nodiscard]] float push (int channel, float sample) noexcept
    {
        return next (channel, sample, 1, [] (float v) { return std::abs (v); });
    }

    /** As push, but the largest value rather than magnitude, at `pointsPerSample` points (4, or 2
        for only the midpoints), as a meter that counts positive excursions reads it. */
    [[nodiscard]] float pushMaximum (int channel, float sample, int pointsPerSample) noexcept
    {
        return next (channel, sample, factor / pointsPerSample, [] (float v) { return v; });
    }

private:
    template <typename Measure>
    float next (int channel, float sample, int phaseStep, Measure measure) noexcept
    {
        auto& h = histories[(size_t) channel];
        h.samples[(size_t) h.next] = sample;
        h.samples[(size_t) (h.next + tapsPerPhase)] = sample;
        h.next = (h.next + 1) & (tapsPerPhase - 1);

        // The oldest sample first: the one j pushes back sits at [tapsPerPhase - 1 - j].
        const float* window = h.samples.data() + h.next;
        auto peak = measure (window[tapsPerPhase - 1 - latency]);

        const auto points = interpolate (window);

        for (int k = phaseStep; k < factor; k += phaseStep)
            peak = std::max (peak, measure (points[(size_t) (k - 1)]));

        return peak;
    }

    /** The three points between the window's sample `latency` back and the next, from a window
        of tapsPerPhase samples, oldest first. */
    [[nodiscard]] std::array<float, factor> interpolate (const float* window) const noexcept
    {
        alignas (16) std::array<float, factor> points {};

#if JUCE_USE_SSE_INTRINSICS
        auto sum = _mm_setzero_ps();
        for (int p = 0; p < tapsPerPhase; ++p)
            sum = _mm_add_ps (sum, _mm_mul_ps (_mm_load_ps (tapsByPosition[(size_t) p].data()), _mm_set1_ps (window[p])));
        _mm_store_ps (points.data(), sum);
#else
        for (int p = 0; p < tapsPerPhase; ++p)
            for (size_t k = 0; k < points.size(); ++k)
                points[k] += tapsByPosition[(size_t) p][k] * window[p];
#endif

        return points;
    }

    // Phase k rebuilds the point k / factor of a sample after the one `latency` pushes back. Its
    // taps are kept by window position, oldest sample first, the three phases side by side (and
    // a fourth lane of zeros), so each sample multiplies all three phases' taps at once.
    alignas (16) std::array<std::array<float, factor>, tapsPerPhase> tapsByPosition {};

    // Each channel's last tapsPerPhase samples, written twice so a window is always contiguous.
    struct History
    {
        std::array<float, 2 * tapsPerPhase> samples {};
        int next = 0;
    };
    std::vector<History> histories;
};

} // namespace Marlode
