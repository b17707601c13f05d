#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

// Files the benchmarks read, made once per run in a folder of their own.

inline constexpr double benchRate = 44100.0;
inline constexpr double tenMinutes = 600.0;

inline juce::File benchFolder()
{
    static const auto dir = []
    {
        auto d = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("marlode-file-bench");
        d.createDirectory();
        return d;
    }();
    return dir;
}

/** Ten minutes of 44.1 kHz, 16-bit stereo noise, written at the first call. */
inline juce::File tenMinuteTrack()
{
    static const auto file = []
    {
        const auto f = benchFolder().getChildFile ("track.wav");
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (f.createOutputStream().release(), benchRate, 2, 16, {}, 0));
        juce::AudioBuffer<float> block (2, 44100);
        juce::Random random (7);
        for (int second = 0; second < (int) tenMinutes; ++second)
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
