#include "support/TestAudio.h"
#include "support/WaitFor.h"

#include <cmath>

namespace MarlodeTest
{

TempFolder::TempFolder()
{
    folder = juce::File::getSpecialLocation (juce::File::tempDirectory)
                 .getChildFile ("marlode-test-" + juce::String::toHexString (juce::Random::getSystemRandom().nextInt64()));
    folder.createDirectory();
}

TempFolder::~TempFolder()
{
    folder.deleteRecursively();
}

juce::AudioBuffer<float> makeBuffer (int channels, int numSamples, const std::function<float (int, int)>& generator)
{
    juce::AudioBuffer<float> buffer (channels, numSamples);

    for (int c = 0; c < channels; ++c)
        for (int i = 0; i < numSamples; ++i)
            buffer.setSample (c, i, generator (c, i));

    return buffer;
}

juce::File writeWav (const juce::File& file, double sampleRate, int channels, int numSamples,
                     const std::function<float (int, int)>& generator, int bitsPerSample)
{
    const auto buffer = makeBuffer (channels, numSamples, generator);

    file.deleteFile();
    juce::WavAudioFormat wav;
    auto* stream = file.createOutputStream().release();
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (stream, sampleRate, (unsigned) channels, bitsPerSample, {}, 0));
    if (writer == nullptr)
    {
        delete stream;
        return {};
    }

    writer->writeFromAudioSampleBuffer (buffer, 0, numSamples);
    return file;
}

float sweep (int channel, int index, double sampleRate)
{
    const auto t = (double) index / sampleRate;
    const auto base = channel == 0 ? 220.0 : 330.0;
    // Instantaneous frequency base + 40 t: phase is its integral.
    return (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * (base * t + 20.0 * t * t)));
}

float noise (int channel, int index)
{
    const auto h = (std::uint32_t) index * 2654435761u ^ (std::uint32_t) channel * 40503u;
    const auto v = (float) (h % 20001u) / 20000.0f - 0.5f;
    return v >= 0.0f ? v + 0.01f : v - 0.01f;
}

int longestZeroRun (const std::vector<float>& samples)
{
    int run = 0, longest = 0;
    for (auto s : samples)
    {
        run = s == 0.0f ? run + 1 : 0;
        longest = std::max (longest, run);
    }
    return longest;
}

juce::AudioBuffer<float> readAll (const juce::File& file, double* sampleRate)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));

    if (reader == nullptr)
        return {};

    juce::AudioBuffer<float> buffer ((int) reader->numChannels, (int) reader->lengthInSamples);
    reader->read (&buffer, 0, buffer.getNumSamples(), 0, true, true);

    if (sampleRate != nullptr)
        *sampleRate = reader->sampleRate;

    return buffer;
}

void pumpMessages (int milliseconds)
{
    juce::MessageManager::getInstance()->runDispatchLoopUntil (milliseconds);
}

bool pumpUntil (const std::function<bool()>& condition, int timeoutMs)
{
    return waitFor (condition, timeoutMs, [] { pumpMessages (5); });
}

} // namespace MarlodeTest
