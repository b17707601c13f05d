// Measuring whole files as the playlist's analysis and marlode-analyse do: ten minutes of stereo
// beside the time to decode it alone (the floor) and libebur128 measuring loudness and true peak
// on the same samples, on one core; then the program on four files against one.
#include "BenchFiles.h"
#include "BenchTiming.h"
#include "engine/TrackAnalysis.h"

#include <benchmark/benchmark.h>
#include <ebur128.h>

namespace
{
constexpr int blockSize = 512;

std::unique_ptr<juce::AudioFormatReader> openTrack()
{
    juce::WavAudioFormat wav;
    return std::unique_ptr<juce::AudioFormatReader> (wav.createReaderFor (tenMinuteTrack().createInputStream().release(), true));
}

// Every block of the track, decoded, handed to `use`.
template <typename Use>
void decodeAll (Use&& use)
{
    auto reader = openTrack();
    juce::AudioBuffer<float> block (2, blockSize);
    for (juce::int64 position = 0; position < reader->lengthInSamples; position += blockSize)
    {
        reader->read (&block, 0, blockSize, position, true, true);
        use (block);
    }
}

void AnalyseDecodeFloor (benchmark::State& state)
{
    tenMinuteTrack();
    timeOnce (state,
              [] { decodeAll ([] (const juce::AudioBuffer<float>& b) { benchmark::DoNotOptimize (b.getReadPointer (0)); }); });
    addRealTimeFactor (state, tenMinutes);
}

void AnalyseOneCore (benchmark::State& state)
{
    tenMinuteTrack();
    timeOnce (state,
              []
              {
                  auto reader = openTrack();
                  benchmark::DoNotOptimize (Marlode::TrackAnalysis().analyse (*reader).lufs);
              });
    addRealTimeFactor (state, tenMinutes);
}

void Libebur128LoudnessAndTruePeak (benchmark::State& state)
{
    tenMinuteTrack();
    timeOnce (state,
              []
              {
                  auto* meter = ebur128_init (2, (unsigned long) benchRate, EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK);
                  std::vector<float> frames (2 * blockSize);
                  decodeAll (
                      [&] (const juce::AudioBuffer<float>& b)
                      {
                          for (int i = 0; i < blockSize; ++i)
                              for (int c = 0; c < 2; ++c)
                                  frames[(size_t) (2 * i + c)] = b.getSample (c, i);
                          ebur128_add_frames_float (meter, frames.data(), blockSize);
                      });
                  double lufs = 0.0;
                  ebur128_loudness_global (meter, &lufs);
                  benchmark::DoNotOptimize (lufs);
                  ebur128_destroy (&meter);
              });
    addRealTimeFactor (state, tenMinutes);
}

// The program itself on `files` copies of the track: its workers take one file each.
void runProgram (benchmark::State& state, int files)
{
    juce::StringArray command { MARLODE_ANALYSE_BINARY, "--csv" };
    for (int i = 0; i < files; ++i)
    {
        const auto copy = benchFolder().getChildFile ("copy" + juce::String (i) + ".wav");
        if (! copy.existsAsFile())
            tenMinuteTrack().copyFileTo (copy);
        command.add (copy.getFullPathName());
    }

    bool ran = true;
    timeOnce (state,
              [&]
              {
                  juce::ChildProcess program;
                  ran = program.start (command, juce::ChildProcess::wantStdOut) && program.readAllProcessOutput().isNotEmpty()
                        && program.waitForProcessToFinish (600000) && program.getExitCode() == 0;
              });

    if (! ran)
        state.SkipWithError ("marlode-analyse failed");
    addRealTimeFactor (state, tenMinutes * files);
}

void AnalyseProgramOneFile (benchmark::State& state)
{
    runProgram (state, 1);
}

void AnalyseProgramFourFiles (benchmark::State& state)
{
    runProgram (state, 4);
}
}

BENCHMARK (AnalyseDecodeFloor)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (AnalyseOneCore)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (Libebur128LoudnessAndTruePeak)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (AnalyseProgramOneFile)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
BENCHMARK (AnalyseProgramFourFiles)->Unit (benchmark::kSecond)->Iterations (1)->UseRealTime();
