#include "support/TestAudio.h"
#include "support/WaitFor.h"
#include "engine/SharedFormatManager.h"

#include <juce_dsp/juce_dsp.h>

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

juce::File writeMp3 (const juce::File& file, double sampleRate, int channels, int numSamples,
                     const std::function<float (int channel, int index)>& generator, int kbps)
{
    const auto source = writeWav (file.withFileExtension (".source.wav"), sampleRate, channels, numSamples, generator, 16);
    juce::ChildProcess lame;
    file.deleteFile();

    const auto encoded = lame.start (juce::StringArray { "lame", "--quiet", "--cbr", "-b", juce::String (kbps),
                                                         source.getFullPathName(), file.getFullPathName() })
                         && lame.waitForProcessToFinish (60000) && lame.getExitCode() == 0;

    if (! encoded)
        file.deleteFile();

    source.deleteFile();
    return file;
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
    Marlode::SharedFormatManager::registerPlayerFormats (formats);
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

std::vector<float> pinkNoise (int numSamples, int seed)
{
    // Paul Kellet's filter bank over white noise.
    juce::Random random (seed);
    std::array<double, 7> b {};
    std::vector<float> out ((size_t) numSamples);
    for (auto& sample : out)
    {
        const auto white = random.nextDouble() * 2.0 - 1.0;
        b[0] = 0.99886 * b[0] + white * 0.0555179;
        b[1] = 0.99332 * b[1] + white * 0.0750759;
        b[2] = 0.96900 * b[2] + white * 0.1538520;
        b[3] = 0.86650 * b[3] + white * 0.3104856;
        b[4] = 0.55000 * b[4] + white * 0.5329522;
        b[5] = -0.7616 * b[5] - white * 0.0168980;
        sample = (float) (0.11 * (b[0] + b[1] + b[2] + b[3] + b[4] + b[5] + b[6] + white * 0.5362));
        b[6] = white * 0.115926;
    }
    return out;
}

double bandPower (const std::vector<float>& samples, double sampleRate, double lowHz, double highHz)
{
    constexpr int order = 13, size = 1 << order;
    juce::dsp::FFT fft (order);
    juce::dsp::WindowingFunction<float> window (size, juce::dsp::WindowingFunction<float>::hann, false);
    std::vector<float> frame (2 * size);
    double power = 0.0;
    int bins = 0;

    for (size_t start = 0; start + size <= samples.size(); start += size / 2)
    {
        std::copy_n (samples.begin() + (long) start, size, frame.begin());
        std::fill (frame.begin() + size, frame.end(), 0.0f);
        window.multiplyWithWindowingTable (frame.data(), size);
        fft.performFrequencyOnlyForwardTransform (frame.data());

        for (int k = (int) std::ceil (lowHz * size / sampleRate); k <= (int) (highHz * size / sampleRate); ++k, ++bins)
            power += (double) frame[(size_t) k] * frame[(size_t) k];
    }

    return bins > 0 ? power / bins : 0.0;
}

} // namespace MarlodeTest
