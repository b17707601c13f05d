// The deck's mono section on 512-sample stereo blocks at 44.1 kHz as real-time factors: the
// crossover (two Linkwitz-Riley filters and the safety limiter) and mid/side.
#include "dsp/DeckEffects.h"

#include <benchmark/benchmark.h>

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

void runEffects (benchmark::State& state, bool crossover)
{
    Marlode::DeckEffects fx;
    fx.prepare (rate, block, 2);
    fx.monoOn = true;
    fx.xOver = crossover;
    fx.midSide = ! crossover;
    fx.midGain = 0.8f;

    juce::AudioBuffer<float> buffer (2, block);
    juce::Random r (9);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < block; ++i)
            buffer.setSample (c, i, (r.nextFloat() - 0.5f) * 0.5f);

    const juce::AudioSourceChannelInfo info (&buffer, 0, block);
    for (auto _ : state)
    {
        fx.process (info);
        benchmark::DoNotOptimize (buffer.getReadPointer (0));
    }
    state.counters["realtime_factor"] = benchmark::Counter (block / rate, benchmark::Counter::kIsIterationInvariantRate);
}

void CrossoverPath (benchmark::State& state)
{
    runEffects (state, true);
}

void MidSidePath (benchmark::State& state)
{
    runEffects (state, false);
}
} // namespace

BENCHMARK (CrossoverPath)->Unit (benchmark::kMicrosecond);
BENCHMARK (MidSidePath)->Unit (benchmark::kMicrosecond);
