#include "dsp/SecondOrderIIRFilter.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Marlode
{

SecondOrderIIRFilter::SecondOrderIIRFilter (const Design& d) : b0 (d.b0), b1 (d.b1), b2 (d.b2), a1 (d.a1), a2 (d.a2), design (d)
{
}

SecondOrderIIRFilter SecondOrderIIRFilter::preFilter()
{
    return SecondOrderIIRFilter ({ 1.53512485958697, -2.69169618940638, 1.19839281085285, -1.69065929318241, 0.73248077421585,
                                   0.7071752369554194, 1.5848647011308554, 1.2587209302325613, 1.000000000000008,
                                   std::atan (0.11053183227049436) });
}

SecondOrderIIRFilter SecondOrderIIRFilter::lowFrequencyBCurve()
{
    return SecondOrderIIRFilter ({ 1.0, -2.0, 1.0, -1.99004745483398, 0.99007225036621, 0.5003270373250421, 1.0049948987146884,
                                   0.0, 0.0, std::atan (0.0024959659153412648) });
}

void SecondOrderIIRFilter::prepareToPlay (double sampleRate, int channels)
{
    numberOfChannels = std::max (0, channels);
    z1.assign ((size_t) numberOfChannels, 0.0);
    z2.assign ((size_t) numberOfChannels, 0.0);

    if (sampleRate == 48000.0)
    {
        b0 = design.b0;
        b1 = design.b1;
        b2 = design.b2;
        a1 = design.a1;
        a2 = design.a2;
        return;
    }

    // The bilinear transform of the same analogue filter at the new rate.
    const auto K = std::tan (design.arctanK * 48000.0 / sampleRate);
    const auto KoverQ = K / design.Q;
    const auto d = 1.0 / (1.0 + KoverQ + K * K);
    b0 = (design.VH + design.VB * KoverQ + design.VL * K * K) * d;
    b1 = 2.0 * (design.VL * K * K - design.VH) * d;
    b2 = (design.VH - design.VB * KoverQ + design.VL * K * K) * d;
    a1 = 2.0 * (K * K - 1.0) * d;
    a2 = (1.0 - KoverQ + K * K) * d;
}

void SecondOrderIIRFilter::reset() noexcept
{
    std::fill (z1.begin(), z1.end(), 0.0);
    std::fill (z2.begin(), z2.end(), 0.0);
}

void SecondOrderIIRFilter::processStereoCascade (SecondOrderIIRFilter& first, SecondOrderIIRFilter& second, double* left,
                                                 double* right, int numSamples) noexcept
{
    if (first.numberOfChannels < 2 || second.numberOfChannels < 2)
        return;

    struct Stage
    {
        SecondOrderIIRFilter& filter;
        double s1, s2;

        double step (double x) noexcept
        {
            const auto w = x - filter.a1 * s1 - filter.a2 * s2;
            const auto y = filter.b0 * w + filter.b1 * s1 + filter.b2 * s2;
            s2 = s1;
            s1 = w;
            return std::abs (y) > 1.0e-8 ? y : 0.0;
        }
    };

    std::array<Stage, 4> stages { Stage { first, first.z1[0], first.z2[0] }, Stage { first, first.z1[1], first.z2[1] },
                                  Stage { second, second.z1[0], second.z2[0] }, Stage { second, second.z1[1], second.z2[1] } };

    for (int i = 0; i < numSamples; ++i)
    {
        left[i] = stages[2].step (stages[0].step (left[i]));
        right[i] = stages[3].step (stages[1].step (right[i]));
    }

    for (size_t ch = 0; ch < 2; ++ch)
    {
        first.z1[ch] = stages[ch].s1;
        first.z2[ch] = stages[ch].s2;
        second.z1[ch] = stages[ch + 2].s1;
        second.z2[ch] = stages[ch + 2].s2;
    }
}

void SecondOrderIIRFilter::process (int channel, double* samples, int numSamples) noexcept
{
    if (channel < 0 || channel >= numberOfChannels)
        return;

    auto s1 = z1[(size_t) channel];
    auto s2 = z2[(size_t) channel];

    for (int i = 0; i < numSamples; ++i)
    {
        const auto w = samples[i] - a1 * s1 - a2 * s2;
        const auto y = b0 * w + b1 * s1 + b2 * s2;
        s2 = s1;
        s1 = w;
        samples[i] = std::abs (y) > 1.0e-8 ? y : 0.0;
    }

    z1[(size_t) channel] = s1;
    z2[(size_t) channel] = s2;
}

} // namespace Marlode
