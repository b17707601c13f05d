// Writes the audio fuzz target's seeds into the folder given: a few hundred frames of a tone in
// each format the player reads, mono and stereo, through the framework's writers and, for MP3,
// the lame encoder. Small seeds keep each run fast, and libFuzzer grows the rest from them.
#include "engine/SharedFormatManager.h"

#include <cmath>
#include <iostream>

namespace
{
bool write (juce::AudioFormat& format, const juce::File& file, double rate, int channels, int bits)
{
    juce::AudioBuffer<float> tone (channels, 600);

    for (int c = 0; c < channels; ++c)
        for (int i = 0; i < tone.getNumSamples(); ++i)
            tone.setSample (c, i, 0.5f * (float) std::sin ((i + 1) * 0.07 * (c + 1)));

    file.deleteFile();
    auto out = file.createOutputStream();
    std::unique_ptr<juce::AudioFormatWriter> writer (
        out == nullptr ? nullptr : format.createWriterFor (out.get(), rate, (unsigned) channels, bits, {}, 0));

    if (writer == nullptr)
        return false;

    out.release();
    return writer->writeFromAudioSampleBuffer (tone, 0, tone.getNumSamples());
}

bool encodeMp3 (const juce::File& wav, const juce::File& mp3)
{
    juce::ChildProcess lame;
    return lame.start (juce::StringArray { "lame", "--quiet", "-b", "32", wav.getFullPathName(), mp3.getFullPathName() })
           && lame.waitForProcessToFinish (60000) && lame.getExitCode() == 0;
}
}

int main (int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: " << argv[0] << " FOLDER\n";
        return 2;
    }

    const juce::File folder (juce::File::getCurrentWorkingDirectory().getChildFile (argv[1]));
    folder.createDirectory();
    bool ok = true;

    for (const auto channels : { 1, 2 })
    {
        const auto name = juce::String (channels == 1 ? "mono" : "stereo");
        juce::WavAudioFormat wav;
        juce::AiffAudioFormat aiff;
        juce::FlacAudioFormat flac;
        juce::OggVorbisAudioFormat ogg;
        const auto source = folder.getChildFile (name + ".wav");

        ok = write (wav, source, 44100.0, channels, 16) && ok;
        ok = write (wav, folder.getChildFile (name + " float.wav"), 48000.0, channels, 32) && ok;
        ok = write (aiff, folder.getChildFile (name + ".aiff"), 44100.0, channels, 24) && ok;
        ok = write (flac, folder.getChildFile (name + ".flac"), 44100.0, channels, 16) && ok;
        ok = write (ogg, folder.getChildFile (name + ".ogg"), 44100.0, channels, 16) && ok;
        ok = encodeMp3 (source, folder.getChildFile (name + ".mp3")) && ok;
    }

    return ok ? 0 : 1;
}
