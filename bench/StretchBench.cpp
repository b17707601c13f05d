// One deck's stretcher per 512-sample stereo block at 44.1 kHz, as a real-time factor, at time
// ratios 1.0 and 1.5, beside Rubber Band driven directly with the same flags and loop (the floor).
#include "dsp/TimeStretcher.h"

#include <benchmark/benchmark.h>
#include <rubberband/RubberBandStretcher.h>

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

struct Tone
{
    Tone()
    {
        source.setFrequency (440.0);
        source.setAmplitude (0.3f);
        source.prepareToPlay (block, rate);
    }
    juce::ToneGeneratorAudioSource source;
    juce::AudioBuffer<float> buffer { 2, block };
};

void setRealtimeFactor (benchmark::State& state, double ratio)
{
    state.counters["realtime_factor"] = benchmark::Counter (block / rate, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["time_ratio"] = ratio;
}

void timeStretcher (benchmark::State& state, double ratio)
{
    Tone tone;
    Marlode::TimeStretcher stretcher;
    stretcher.setTimeRatio (ratio);
    stretcher.prepare (block, 2, rate);
    const juce::AudioSourceChannelInfo info (&tone.buffer, 0, block);
    for (auto _ : state)
    {
        stretcher.pull (tone.source, info);
        benchmark::DoNotOptimize (tone.buffer.getReadPointer (0));
    }
    setRealtimeFactor (state, ratio);
}

void rubberBand (benchmark::State& state, double ratio)
{
    using RB = RubberBand::RubberBandStretcher;
    Tone tone;
    RB stretcher ((size_t) rate, 2, RB::OptionProcessRealTime | RB::OptionChannelsTogether, ratio, 1.0);
    stretcher.setMaxProcessSize (block);
    const juce::AudioSourceChannelInfo info (&tone.buffer, 0, block);
    auto* const* channels = tone.buffer.getArrayOfWritePointers();
    for (auto _ : state)
    {
        while (stretcher.available() < block)
        {
            tone.source.getNextAudioBlock (info);
            stretcher.process (channels, block, false);
        }
        stretcher.retrieve (channels, block);
        benchmark::DoNotOptimize (tone.buffer.getReadPointer (0));
    }
    setRealtimeFactor (state, ratio);
}

void TimeStretcherAt1 (benchmark::State& state)
{
    timeStretcher (state, 1.0);
}
void TimeStretcherAt1_5 (benchmark::State& state)
{
    timeStretcher (state, 1.5);
}
void RubberBandAt1 (benchmark::State& state)
{
    rubberBand (state, 1.0);
}
void RubberBandAt1_5 (benchmark::State& state)
{
    rubberBand (state, 1.5);
}
} // namespace

BENCHMARK (TimeStretcherAt1)->Unit (benchmark::kMicrosecond);
BENCHMARK (TimeStretcherAt1_5)->Unit (benchmark::kMicrosecond);
BENCHMARK (RubberBandAt1)->Unit (benchmark::kMicrosecond);
BENCHMARK (RubberBandAt1_5)->Unit (benchmark::kMicrosecond);
