#pragma once

#include <array>
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
    [[nodiscard]] float push (int channel, float sample) noexcept;

private:
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
