// Loudness and true peak throughput beside libebur128 on the same stereo buffer, and the cost of
// one 512-sample block through a level meter of each type as a real-time factor.
#include "dsp/LevelMeterProcessor.h"

#include <benchmark/benchmark.h>
#include <ebur128.h>

namespace
{
constexpr double rate = 48000.0;
constexpr int block = 512;

const juce::AudioBuffer<float>& programme()
{
    static const auto buffer = []
    {
        juce::AudioBuffer<float> b (2, (int) rate * 10);
        juce::Random random (3);
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < b.getNumSamples(); ++i)
                b.setSample (c, i, 0.3f * (float) std::sin (0.02 * i * (c + 1)) + 0.05f * (random.nextFloat() - 0.5f));
        return b;
    }();
    return buffer;
}

std::vector<float> interleaved()
{
    const auto& b = programme();
    std::vector<float> out ((size_t) b.getNumSamples() * 2);
    for (int i = 0; i < b.getNumSamples(); ++i)
        for (int c = 0; c < 2; ++c)
            out[(size_t) (2 * i + c)] = b.getSample (c, i);
    return out;
}

template <typename Meter>
void runBlocks (benchmark::State& state, Meter&& processOne)
{
    auto& source = const_cast<juce::AudioBuffer<float>&> (programme());
    for (auto _ : state)
        for (int start = 0; start + block <= source.getNumSamples(); start += block)
            processOne (juce::AudioSourceChannelInfo (&source, start, block));

    state.SetItemsProcessed (state.iterations() * (source.getNumSamples() / block) * block);
}

void Loudness (benchmark::State& state)
{
    Marlode::Ebu128LoudnessMeter meter;
    meter.prepareToPlay (rate, 2, block, 20);
    runBlocks (state, [&] (const juce::AudioSourceChannelInfo& info) { meter.processBlock (info); });
}

void TruePeak (benchmark::State& state)
{
    Marlode::TruePeakMeter meter;
    meter.prepare (2, block, rate);
    runBlocks (state, [&] (const juce::AudioSourceChannelInfo& info) { meter.process (info); });
}

void Libebur128 (benchmark::State& state, int mode)
{
    const auto data = interleaved();
    const auto frames = data.size() / 2;
    for (auto _ : state)
    {
        auto* st = ebur128_init (2, (unsigned long) rate, mode);
        for (size_t start = 0; start + block <= frames; start += block)
            ebur128_add_frames_float (st, data.data() + start * 2, block);
        ebur128_destroy (&st);
    }
    state.SetItemsProcessed (state.iterations() * (int64_t) (frames / block) * block);
}

void Libebur128Loudness (benchmark::State& state)
{
    Libebur128 (state, EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_M | EBUR128_MODE_S);
}
void Libebur128TruePeak (benchmark::State& state)
{
    Libebur128 (state, EBUR128_MODE_TRUE_PEAK);
}

void MeterBlock (benchmark::State& state)
{
    Marlode::LevelMeterProcessor meter;
    meter.prepare (block, 44100.0);
    meter.meterType = (int) state.range (0);
    auto& source = const_cast<juce::AudioBuffer<float>&> (programme());
    int start = 0;
    for (auto _ : state)
    {
        meter.process (juce::AudioSourceChannelInfo (&source, start, block));
        start = (start + block) % (source.getNumSamples() - block);
    }
    state.counters["realtime_factor"] = benchmark::Counter (block / 44100.0, benchmark::Counter::kIsIterationInvariantRate);
    state.SetLabel (
        juce::StringArray { "PEAK", "TRUE PEAK", "RMS", "RMS/PK", "LUFS", "LUFS/TP" }[(int) state.range (0) - 1].toStdString());
}
}

BENCHMARK (Loudness)->Unit (benchmark::kMillisecond);
BENCHMARK (Libebur128Loudness)->Unit (benchmark::kMillisecond);
BENCHMARK (TruePeak)->Unit (benchmark::kMillisecond);
BENCHMARK (Libebur128TruePeak)->Unit (benchmark::kMillisecond);
BENCHMARK (MeterBlock)->DenseRange (1, 6)->Unit (benchmark::kMicrosecond);
