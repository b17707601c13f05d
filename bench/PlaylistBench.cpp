// What a 2,000-track playlist costs: adding the files (each opened for its facts) and opening a
// playlist file, against merely opening a reader for each file; the memory a row takes; and one
// frame of scrolling, against the 33 ms interface tick.
#include "BenchTiming.h"
#include "playlist/PlaylistComponent.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

namespace
{
constexpr int numTracks = 2000;
constexpr double tickSeconds = 0.033;

// Short 16-bit stereo WAVs in the temporary folder, made once.
juce::StringArray trackPaths()
{
    const auto folder = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("marlode-bench-playlist");
    folder.createDirectory();
    juce::StringArray paths;
    juce::WavAudioFormat wav;
    juce::AudioBuffer<float> audio (2, 4410);
    audio.clear();

    for (int i = 0; i < numTracks; ++i)
    {
        const auto file = folder.getChildFile ("track " + juce::String (i).paddedLeft ('0', 4) + ".wav");

        if (! file.existsAsFile())
        {
            std::unique_ptr<juce::AudioFormatWriter> writer (
                wav.createWriterFor (file.createOutputStream().release(), 44100.0, 2, 16, {}, 0));
            writer->writeFromAudioSampleBuffer (audio, 0, audio.getNumSamples());
        }

        paths.add (file.getFullPathName());
    }

    return paths;
}

// The readers a playlist opens files with, and the window's popup slot it shares.
struct Formats
{
    Formats() { manager.registerBasicFormats(); }
    juce::AudioFormatManager manager;
    Marlode::PopupDisplayComponent* activePopup = nullptr;
};

void OpenReaders2000 (benchmark::State& state)
{
    const auto paths = trackPaths();
    Formats formats;

    timeOnce (state,
              [&]
              {
                  for (const auto& path : paths)
                      std::unique_ptr<juce::AudioFormatReader> (formats.manager.createReaderFor (juce::File (path)));
              });
}

void AddFiles2000 (benchmark::State& state)
{
    const auto paths = trackPaths();
    Formats formats;
    size_t bytesPerRow = 0;

    timeOnce (state,
              [&]
              {
                  Marlode::PlaylistComponent playlist (formats.manager, formats.activePopup);
                  const auto before = mallinfo2().uordblks;
                  playlist.addFiles (paths, false, true, -1);
                  bytesPerRow = (mallinfo2().uordblks - before) / (size_t) numTracks;
              });

    // Everything a row holds: its facts, its strings and its entry in the stored playlist.
    state.counters["bytes_per_row"] = (double) bytesPerRow;
}

void OpenPlaylist2000 (benchmark::State& state)
{
    const auto paths = trackPaths();
    Formats formats;
    const auto file = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("marlode-bench-playlist.xml");

    {
        Marlode::PlaylistComponent source (formats.manager, formats.activePopup);
        source.addFiles (paths, false, true, -1);
        source.savePlaylist (file);
    }

    timeOnce (state,
              [&]
              {
                  Marlode::PlaylistComponent playlist (formats.manager, formats.activePopup);
                  playlist.openPlaylistFile (file, false);

                  if (playlist.getNumRows() != numTracks)
                      state.SkipWithError ("the playlist didn't open whole");
              });
}

void ScrollFrame2000 (benchmark::State& state)
{
    const auto paths = trackPaths();
    Formats formats;
    Marlode::PlaylistComponent playlist (formats.manager, formats.activePopup);
    playlist.setSize (1200, 600);
    playlist.addFiles (paths, false, true, -1);
    juce::Random random (1);
    juce::Image frame (juce::Image::ARGB, 1200, 600, true);
    double elapsed = 0.0;
    int frames = 0;

    for (auto _ : state)
    {
        const auto start = juce::Time::getMillisecondCounterHiRes();
        playlist.table.scrollToEnsureRowIsOnscreen (random.nextInt (numTracks));
        juce::Graphics g (frame);
        playlist.paintEntireComponent (g, true);
        elapsed += juce::Time::getMillisecondCounterHiRes() - start;
        ++frames;
    }

    const auto msPerFrame = elapsed / juce::jmax (1, frames);
    state.counters["ms_per_frame"] = msPerFrame;
    state.counters["share_of_33ms_tick"] = msPerFrame / 1000.0 / tickSeconds;
}
}

BENCHMARK (OpenReaders2000)->Iterations (3)->Unit (benchmark::kMillisecond);
BENCHMARK (AddFiles2000)->Iterations (3)->Unit (benchmark::kMillisecond);
BENCHMARK (OpenPlaylist2000)->Iterations (3)->Unit (benchmark::kMillisecond);
BENCHMARK (ScrollFrame2000)->Iterations (50)->Unit (benchmark::kMillisecond);
