#include "dsp/CrossoverFilter.h"

#include <juce_dsp/juce_dsp.h>

#include <cmath>

namespace Marlode
{

void CrossoverFilter::prepare (double sampleRate) noexcept
{
    rate = sampleRate;
    states = {};
}

void CrossoverFilter::setCutoffFrequency (float hz) noexcept
{
    // The framework's design, in its types.
    g = (float) std::tan (juce::MathConstants<double>::pi * hz / rate);
    r2 = (float) std::sqrt (2.0);
    h = (float) (1.0 / (1.0 + r2 * g + g * g));
}

void CrossoverFilter::process (float* left, float* right, float* mono, int numSamples) noexcept
{
    const auto stage = [g = g, h = h, r2 = r2] (float input, float& s1, float& s2, float& yH, float& yL) noexcept
    {
        yH = (input - (r2 + g) * s1 - s2) * h;
        const auto yB = g * yH + s1;
        s1 = g * yH + yB;
        yL = g * yB + s2;
        s2 = g * yB + yL;
    };

    // High: the second stage takes the first's high output; low: its low output.
    const auto filter = [&stage] (float input, State& s, bool low) noexcept
    {
        float yH = 0.0f, yL = 0.0f, yH2 = 0.0f, yL2 = 0.0f;
        stage (input, s.s1, s.s2, yH, yL);
        stage (low ? yL : yH, s.s3, s.s4, yH2, yL2);
        return low ? yL2 : yH2;
    };

    auto& [leftState, rightState, monoState] = states;

    for (int i = 0; i < numSamples; ++i)
    {
        left[i] = filter (left[i], leftState, false);
        right[i] = filter (right[i], rightState, false);
        mono[i] = filter (mono[i], monoState, true);
    }

    for (auto& s : states)
        for (auto* v : { &s.s1, &s.s2, &s.s3, &s.s4 })
            juce::dsp::util::snapToZero (*v);
}

} // namespace Marlode
