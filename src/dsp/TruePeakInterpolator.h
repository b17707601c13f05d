#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

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
        h.next = (h.next + 1) % tapsPerPhase;

        // The oldest sample first: the one j pushes back sits at [tapsPerPhase - 1 - j].
        const float* window = h.samples.data() + h.next;
        auto peak = measure (window[tapsPerPhase - 1 - latency]);

        for (int k = phaseStep; k < factor; k += phaseStep)
        {
            const auto& taps = phases[(size_t) (k - 1)];
            auto value = 0.0f;
            for (int j = 0; j < tapsPerPhase; ++j)
                value += taps[(size_t) j] * window[tapsPerPhase - 1 - j];
            peak = std::max (peak, measure (value));
        }

        return peak;
    }

    // Phase k rebuilds the point k / factor of a sample after the one `latency` pushes back.
    std::array<std::array<float, tapsPerPhase>, factor - 1> phases {};

    // Each channel's last tapsPerPhase samples, written twice so a window is always contiguous.
    struct History
    {
        std::array<float, 2 * tapsPerPhase> samples {};
        int next = 0;
    };
    std::vector<History> histories;
};

} // namespace Marlode
