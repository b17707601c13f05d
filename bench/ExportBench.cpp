// Rendering a track to a file: ten minutes of stereo through eight equaliser bands and the
// effects, beside the time to read and write the same file with nothing done (the floor) and
// sox running eight equaliser stages over it.
#include "BenchTiming.h"
#include "dsp/DeckEffects.h"
#include "dsp/LimiterProcessor.h"
#include "dsp/ParametricEqualiser.h"
#include "engine/TrackRenderer.h"

#include <benchmark/benchmark.h>

namespace
{
constexpr double rate = 44100.0;
constexpr double trackSeconds = 600.0;
constexpr int blockSize = 512;

juce::File folder()
{
    static const auto dir = []
    {
        auto d = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("marlode-export-bench");
        d.createDirectory();
        return d;
    }();
    return dir;
}

// The ten minutes of noise every run reads, written once.
juce::File track()
{
    static const auto file = []
    {
        const auto f = folder().getChildFile ("track.wav");
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (f.createOutputStream().release(), rate, 2, 16, {}, 0));
        juce::AudioBuffer<float> block (2, 44100);
        juce::Random random (7);
        for (int second = 0; second < (int) trackSeconds; ++second)
        {
            for (int c = 0; c < 2; ++c)
                for (int i = 0; i < block.getNumSamples(); ++i)
                    block.setSample (c, i, 0.3f * (random.nextFloat() * 2.0f - 1.0f));
            writer->writeFromAudioSampleBuffer (block, 0, block.getNumSamples());
        }
        return f;
    }();
    return file;
}

std::unique_ptr<juce::AudioFormatReader> openTrack()
{
    juce::WavAudioFormat wav;
    return std::unique_ptr<juce::AudioFormatReader> (wav.createReaderFor (track().createInputStream().release(), true));
}

std::unique_ptr<juce::AudioFormatWriter> openOutput (const juce::AudioFormatReader& reader)
{
    const auto out = folder().getChildFile ("out.wav");
    out.deleteFile();
    juce::WavAudioFormat wav;
    return std::unique_ptr<juce::AudioFormatWriter> (
        wav.createWriterFor (out.createOutputStream().release(), rate, reader.numChannels, 24, {}, 0));
}

void addRealTimeFactor (benchmark::State& state)
{
    state.counters["realtime_factor"] = trackSeconds / state.counters["seconds"];
}

void ExportCopyFloor (benchmark::State& state)
{
    track(); // made before the clock starts
    timeOnce (state,
              []
              {
                  auto reader = openTrack();
                  auto writer = openOutput (*reader);
                  juce::AudioBuffer<float> buffer (2, blockSize);
                  for (juce::int64 position = 0; position < reader->lengthInSamples; position += blockSize)
                  {
                      reader->read (&buffer, 0, blockSize, position, true, true);
                      writer->writeFromAudioSampleBuffer (buffer, 0, blockSize);
                  }
              });
    addRealTimeFactor (state);
}

void ExportRender (benchmark::State& state)
{
    Marlode::ParametricEqualiser eq (true);
    for (int i = 0; i < 8; ++i)
    {
        Marlode::EQBandValues band;
        band.filterType = 1 + i % 5;
        band.freq = 40.0 * std::pow (2.0, i);
        band.gain = 3.0;
        eq.addBand (band);
    }
    Marlode::DeckEffects effects;
    effects.monoOn = true;
    effects.xOver = true;
    Marlode::LimiterProcessor limiter;
    limiter.setLimiterOn (true);
    limiter.setThresholdDb (-6.0);

    track();
    const Marlode::TrackRenderer::Chain chain { [&] (double r, int size, int channels)
                                                {
                                                    eq.prepare (r, size, channels);
                                                    effects.prepare (r, size, channels);
                                                    limiter.prepare (r, size, channels);
                                                },
                                                [&] (const juce::AudioSourceChannelInfo& info)
                                                {
                                                    eq.process (info);
                                                    effects.process (info);
                                                    limiter.process (info);
                                                } };
    timeOnce (state,
              [&]
              {
                  auto reader = openTrack();
                  auto writer = openOutput (*reader);
                  Marlode::TrackRenderer renderer (*reader, chain, nullptr, rate, blockSize, false);
                  renderer.setUp();
                  renderer.run (*writer);
              });
    addRealTimeFactor (state);
}

void SoxEightEqualisers (benchmark::State& state)
{
    juce::StringArray command { "sox", track().getFullPathName(), "-b", "24",
                                folder().getChildFile ("sox.wav").getFullPathName() };
    for (int i = 0; i < 8; ++i)
        command.addArray ({ "equalizer", juce::String (40.0 * std::pow (2.0, i)), "1q", "3" });

    bool ran = true;
    timeOnce (state,
              [&]
              {
                  juce::ChildProcess sox;
                  ran = sox.start (command) && sox.waitForProcessToFinish (600000) && sox.getExitCode() == 0;
              });

    if (! ran)
        state.SkipWithError ("sox didn't run (scripts/setup.sh installs it)");
    addRealTimeFactor (state);
}
}

BENCHMARK (ExportCopyFloor)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (ExportRender)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (SoxEightEqualisers)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
