// libFuzzer entry: outside bytes as an audio file of every registered format in turn, opened
// through the guard every deck, playlist and analysis uses, read through in blocks, read again at
// a few places, and measured. Memory and undefined behaviour faults stop it through the sanitizers.
#include "engine/AudioFileGuard.h"
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace
{
// Refusals are expected by the thousand; their log lines would only slow the run.
struct SilentLogger : juce::Logger
{
    void logMessage (const juce::String&) override {}
};

struct FuzzSetup
{
    FuzzSetup()
    {
        juce::Logger::setCurrentLogger (&logger);
        folder.createDirectory();
    }

    SilentLogger logger;
    Marlode::SharedFormatManager formats;
    // One file a format, rewritten for each input: the guard opens files by name, as the deck does.
    juce::File folder = juce::File::getSpecialLocation (juce::File::tempDirectory)
                            .getChildFile ("marlode-audio-fuzz-" + juce::String ((int) getpid()));
};

FuzzSetup& setup()
{
    // Never destroyed: the process ends inside libFuzzer, after the framework's own statics may be gone.
    static auto* instance = []
    {
        auto* s = new FuzzSetup();
        std::atexit ([] { setup().folder.deleteRecursively(); });
        return s;
    }();
    return *instance;
}

// The guard allows a day of audio from a few kilobytes of digital silence; reading all of that
// would spend the run's time decoding zeros rather than finding faults.
constexpr juce::int64 mostFramesRead = (juce::int64) 1 << 21;
constexpr int blockSize = 4096;

void exercise (juce::AudioFormatReader& reader)
{
    const auto length = juce::jmin (reader.lengthInSamples, mostFramesRead);
    juce::AudioBuffer<float> block ((int) reader.numChannels, blockSize);

    for (juce::int64 position = 0; position < length; position += blockSize)
        reader.read (&block, 0, blockSize, position, true, true);

    for (const auto position : { length / 2, (juce::int64) 0, length - 100, length + 10, length / 3, (juce::int64) -50 })
        reader.read (&block, 0, 1000, position, true, true);

    juce::AudioSubsectionReader limited (&reader, 0, length, false);
    Marlode::TrackAnalysis analysis;
    [[maybe_unused]] const auto results = analysis.analyse (limited);
}
}

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    auto& s = setup();

    for (auto* format : s.formats)
    {
        const auto file = s.folder.getChildFile ("input" + format->getFileExtensions()[0]);
        file.replaceWithData (data, size);

        if (auto reader = Marlode::AudioFileGuard::createReader (s.formats, file))
            exercise (*reader);
    }

    return 0;
}
