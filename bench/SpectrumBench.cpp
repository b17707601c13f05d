// The spectrum display's cost per interface tick at a typical size, with a frame waiting (window,
// transform and curve) and without (the fall only), and the audio thread's cost per block.
#include "dsp/panels/SpectrumAnalyzer.h"

#include <benchmark/benchmark.h>

#include <chrono>

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

juce::AudioBuffer<float> noiseBlock()
{
    juce::AudioBuffer<float> b (2, block);
    juce::Random random (5);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < block; ++i)
            b.setSample (c, i, random.nextFloat() - 0.5f);
    return b;
}

void SpectrumTick (benchmark::State& state)
{
    const bool withFrame = state.range (0) != 0;
    Marlode::SpectrumFeed feed;
    feed.prepare (rate, block);
    Marlode::SpectrumAnalyzer analyzer (feed);
    analyzer.setSize (900, 300);
    auto source = noiseBlock();
    double seconds = 0.0;

    for (auto _ : state)
    {
        // Filling the feed belongs to the audio thread's cost, not the tick's.
        for (int i = 0; withFrame && i < Marlode::SpectrumFeed::frameSize / block; ++i)
            feed.push (juce::AudioSourceChannelInfo (source));

        const auto start = std::chrono::steady_clock::now();
        analyzer.timerRelayCallback();
        const auto elapsed = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime (elapsed);
        seconds += elapsed;
    }
    state.counters["share_of_33ms_tick"] = seconds / (double) state.iterations() / 0.033;
    state.SetLabel (withFrame ? "frame waiting: transform and curve" : "no frame: fall only");
}

void SpectrumPush (benchmark::State& state)
{
    Marlode::SpectrumFeed feed;
    feed.prepare (rate, block);
    auto source = noiseBlock();

    for (auto _ : state)
    {
        feed.push (juce::AudioSourceChannelInfo (source));
        if (feed.takeFrame() != nullptr)
            feed.releaseFrame();
    }
    state.counters["realtime_factor"] = benchmark::Counter (block / rate, benchmark::Counter::kIsIterationInvariantRate);
}
}

BENCHMARK (SpectrumTick)->Arg (1)->Arg (0)->UseManualTime()->Unit (benchmark::kMicrosecond);
BENCHMARK (SpectrumPush)->Unit (benchmark::kMicrosecond);
