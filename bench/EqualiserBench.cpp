// An eight-band stereo equaliser on 512-sample blocks at 44.1 kHz as a real-time factor, beside
// the same eight filters run directly through the framework's IIR filter (the floor).
#include "dsp/ParametricEqualiser.h"

#include <benchmark/benchmark.h>
#include <juce_dsp/juce_dsp.h>

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

std::vector<Marlode::EQBandValues> eightBands()
{
    std::vector<Marlode::EQBandValues> bands;
    for (int i = 0; i < 8; ++i)
    {
        Marlode::EQBandValues v;
        v.filterType = 1 + i % 5;
        v.freq = 40.0 * std::pow (2.0, i);
        v.gain = i % 2 == 0 ? 4.0 : -4.0;
        v.q = 1.2;
        bands.push_back (v);
    }
    return bands;
}

juce::AudioBuffer<float> noiseBlock()
{
    juce::AudioBuffer<float> b (2, block);
    juce::Random r (5);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < block; ++i)
            b.setSample (c, i, (r.nextFloat() - 0.5f) * 0.2f);
    return b;
}

void setRealtimeFactor (benchmark::State& state)
{
    state.counters["realtime_factor"] = benchmark::Counter (block / rate, benchmark::Counter::kIsIterationInvariantRate);
}

void EightBandEqualiser (benchmark::State& state)
{
    Marlode::ParametricEqualiser eq (true);
    eq.prepare (rate, block, 2);
    for (const auto& v : eightBands())
        eq.addBand (v);

    auto buffer = noiseBlock();
    const juce::AudioSourceChannelInfo info (&buffer, 0, block);
    for (auto _ : state)
    {
        eq.process (info);
        benchmark::DoNotOptimize (buffer.getReadPointer (0));
    }
    setRealtimeFactor (state);
}

void EightJuceIIRFilters (benchmark::State& state)
{
    std::vector<juce::dsp::IIR::Filter<float>> filters;
    for (const auto& v : eightBands())
    {
        const auto c = *Marlode::ParametricEqualiser::design (v, rate);
        auto made = new juce::dsp::IIR::Coefficients<float> (c[0], c[1], c[2], 1.0f, c[3], c[4]);
        for (int ch = 0; ch < 2; ++ch)
            filters.emplace_back (made);
    }
    for (auto& f : filters)
        f.prepare ({ rate, (juce::uint32) block, 1 });

    auto buffer = noiseBlock();
    for (auto _ : state)
    {
        for (size_t i = 0; i < filters.size(); ++i)
        {
            juce::dsp::AudioBlock<float> channel (buffer.getArrayOfWritePointers() + i % 2, 1, block);
            filters[i].process (juce::dsp::ProcessContextReplacing<float> (channel));
        }
        benchmark::DoNotOptimize (buffer.getReadPointer (0));
    }
    setRealtimeFactor (state);
}
} // namespace

BENCHMARK (EightBandEqualiser)->Unit (benchmark::kMicrosecond);
BENCHMARK (EightJuceIIRFilters)->Unit (benchmark::kMicrosecond);
