// The deck's limiter on 512-sample stereo blocks at 44.1 kHz as a real-time factor, beside a
// naive limiter with the same gain law that scans its whole window for the smallest gain at
// every sample.
#include "dsp/BoxStackFilter.h"
#include "dsp/ChannelDelay.h"
#include "dsp/LimiterProcessor.h"

#include <benchmark/benchmark.h>

#include <array>

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

juce::AudioBuffer<float> loudBlock (int index)
{
    juce::AudioBuffer<float> b (2, block);
    juce::Random r (index);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < block; ++i)
            b.setSample (c, i, (r.nextFloat() * 2.0f - 1.0f) * (index % 2 == 0 ? 2.0f : 0.5f));
    return b;
}

void setRealtimeFactor (benchmark::State& state)
{
    state.counters["realtime_factor"] = benchmark::Counter (block / rate, benchmark::Counter::kIsIterationInvariantRate);
}

/** Loud and quiet blocks in turn, so the limiter holds, releases and rests. */
struct Blocks
{
    std::array<juce::AudioBuffer<float>, 8> source, work;
    int next = 0;

    Blocks()
    {
        for (int i = 0; i < (int) source.size(); ++i)
            source[(size_t) i] = loudBlock (i);
    }

    juce::AudioBuffer<float>& take()
    {
        auto& b = work[(size_t) next];
        b.makeCopyOf (source[(size_t) next], true);
        next = (next + 1) % (int) work.size();
        return b;
    }
};

void PeakLimiterStereo (benchmark::State& state)
{
    Marlode::LimiterProcessor stage;
    stage.prepare (rate, block, 2);
    stage.setLimiterOn (true);
    stage.setThresholdDb (-3.0);

    Blocks blocks;
    for (auto _ : state)
    {
        auto& b = blocks.take();
        stage.process (juce::AudioSourceChannelInfo (&b, 0, block));
        benchmark::DoNotOptimize (b.getReadPointer (0));
    }
    setRealtimeFactor (state);
}

void NaiveWindowScanLimiter (benchmark::State& state)
{
    const auto delay = (int) (Marlode::PeakLimiter::attackMs * 0.001 * rate);
    const auto window = delay + (int) (Marlode::PeakLimiter::holdMs * 0.001 * rate);
    const auto coeff = Marlode::PeakLimiter::releaseCoefficient (40.0, rate);
    const auto ceiling = std::pow (10.0, -3.0 / 20.0);

    std::vector<double> targets ((size_t) window, 1.0);
    Marlode::BoxStackFilter smoother;
    smoother.prepare (delay);
    std::array<Marlode::ChannelDelay, 2> delays;
    for (auto& d : delays)
        d.prepare (delay);

    Blocks blocks;
    size_t write = 0;
    auto releaseState = 1.0;
    for (auto _ : state)
    {
        auto& b = blocks.take();
        auto* const* data = b.getArrayOfWritePointers();
        for (int i = 0; i < block; ++i)
        {
            const auto peak = std::max ({ 0.0, (double) data[0][i], (double) data[1][i] });
            targets[write] = peak > ceiling ? ceiling / peak : 1.0;
            write = (write + 1) % targets.size();

            auto wanted = *std::min_element (targets.begin(), targets.end());
            wanted = std::min (wanted, (wanted - releaseState) * coeff + releaseState);
            releaseState = wanted;

            const auto gain = (float) smoother.process (wanted);
            for (int c = 0; c < 2; ++c)
                data[c][i] = delays[(size_t) c].process (data[c][i]) * gain;
        }
        benchmark::DoNotOptimize (b.getReadPointer (0));
    }
    setRealtimeFactor (state);
}
} // namespace

BENCHMARK (PeakLimiterStereo)->Unit (benchmark::kMicrosecond);
BENCHMARK (NaiveWindowScanLimiter)->Unit (benchmark::kMicrosecond);
