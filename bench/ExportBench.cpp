// Rendering a track to a file: ten minutes of stereo through eight equaliser bands and the
// effects, beside the time to read and write the same file with nothing done (the floor) and
// sox running eight equaliser stages over it.
#include "BenchFiles.h"
#include "BenchTiming.h"
#include "dsp/DeckEffects.h"
#include "dsp/LimiterProcessor.h"
#include "dsp/ParametricEqualiser.h"
#include "engine/TrackRenderer.h"

#include <benchmark/benchmark.h>

namespace
{
constexpr int blockSize = 512;

std::unique_ptr<juce::AudioFormatReader> openTrack()
{
    juce::WavAudioFormat wav;
    return std::unique_ptr<juce::AudioFormatReader> (wav.createReaderFor (tenMinuteTrack().createInputStream().release(), true));
}

std::unique_ptr<juce::AudioFormatWriter> openOutput (const juce::AudioFormatReader& reader)
{
    const auto out = benchFolder().getChildFile ("out.wav");
    out.deleteFile();
    juce::WavAudioFormat wav;
    return std::unique_ptr<juce::AudioFormatWriter> (
        wav.createWriterFor (out.createOutputStream().release(), benchRate, reader.numChannels, 24, {}, 0));
}

void ExportCopyFloor (benchmark::State& state)
{
    tenMinuteTrack(); // made before the clock starts
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
    addRealTimeFactor (state, tenMinutes);
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

    tenMinuteTrack();
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
                  Marlode::TrackRenderer renderer (*reader, chain, nullptr, benchRate, blockSize, false);
                  renderer.setUp();
                  renderer.run (*writer);
              });
    addRealTimeFactor (state, tenMinutes);
}

void SoxEightEqualisers (benchmark::State& state)
{
    juce::StringArray command { "sox", tenMinuteTrack().getFullPathName(), "-b", "24",
                                benchFolder().getChildFile ("sox.wav").getFullPathName() };
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
    addRealTimeFactor (state, tenMinutes);
}
}

BENCHMARK (ExportCopyFloor)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (ExportRender)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (SoxEightEqualisers)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
