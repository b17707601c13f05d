#pragma once

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_events/juce_events.h>

#include <functional>
#include <vector>

namespace MarlodeTest
{

/** A private folder for one test's files, removed afterwards. */
struct TempFolder
{
    TempFolder();
    ~TempFolder();
    juce::File file (const juce::String& name) const { return folder.getChildFile (name); }
    juce::File folder;
};

/** A buffer whose sample i of channel c is `generator (c, i)`. */
juce::AudioBuffer<float> makeBuffer (int channels, int numSamples,
                                     const std::function<float (int channel, int index)>& generator);

/** Writes a WAV whose sample i of channel c is `generator (c, i)`. */
juce::File writeWav (const juce::File& file, double sampleRate, int channels, int numSamples,
                     const std::function<float (int channel, int index)>& generator, int bitsPerSample = 24);

/** Encodes a WAV like `writeWav`'s (16-bit) to an MP3 with the lame encoder, at `kbps` constant
    bit rate; a failed encoding leaves no file. */
juce::File writeMp3 (const juce::File& file, double sampleRate, int channels, int numSamples,
                     const std::function<float (int channel, int index)>& generator, int kbps = 192);

/** A sine with a slowly changing frequency, different per channel: no two places look alike,
    so alignment by correlation has one clear answer. */
float sweep (int channel, int index, double sampleRate);

/** White noise between -0.51 and 0.51 that never holds an exact zero, so a zero in what was
    played can only be a hole. */
float noise (int channel, int index);

/** Pink noise (-3 dB per octave, peaks near 0.5), the same for every call with the same seed. */
std::vector<float> pinkNoise (int numSamples, int seed = 1);

/** Mean power of a recording between two frequencies, from averaged Hann-windowed spectra. */
double bandPower (const std::vector<float>& samples, double sampleRate, double lowHz, double highHz);

/** The longest run of exact zeros. */
int longestZeroRun (const std::vector<float>& samples);

/** Reads a whole audio file. */
juce::AudioBuffer<float> readAll (const juce::File& file, double* sampleRate = nullptr);

/** Pumps the message loop for this long. */
void pumpMessages (int milliseconds);

/** Pumps the message loop until `condition` holds or `timeoutMs` passes; returns the condition. */
bool pumpUntil (const std::function<bool()>& condition, int timeoutMs);

} // namespace MarlodeTest
