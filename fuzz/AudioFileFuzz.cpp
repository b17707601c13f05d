// libFuzzer entry: outside bytes as an audio file of every registered format in turn, opened
// through the guard every deck, playlist and analysis uses, read through in blocks, read again at
// a few places, measured, exported, and loaded into a deck's engine that plays, seeks and wraps it the way a
// device would pull it. Memory and undefined behaviour faults stop it through the sanitizers.
#include "engine/AudioFileGuard.h"
#include "engine/DeckEngine.h"
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"
#include "engine/TrackRenderer.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace
{
// The block a device pulls from a deck, in samples.
constexpr int deviceBlock = 512;

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
        // The transport's timer and change messages need a message thread; none is dispatched,
        // the decks here are driven by hand.
        juce::MessageManager::getInstance()->setCurrentThreadAsMessageThread();
        readAhead.startThread();
        deck.prepare (deviceBlock, 44100.0);
    }

    SilentLogger logger;
    Marlode::SharedFormatManager formats;
    juce::TimeSliceThread readAhead { "Read Ahead Buffer Thread" };
    Marlode::DeckEngine deck;
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

    juce::MemoryBlock exported;
    std::unique_ptr<juce::AudioFormatWriter> writer (juce::WavAudioFormat().createWriterFor (
        new juce::MemoryOutputStream (exported, false), 44100.0, reader.numChannels, 24, {}, 0));
    if (writer != nullptr)
    {
        Marlode::TrackRenderer renderer (limited, {}, nullptr, 44100.0, deviceBlock, false);
        renderer.setUp();
        renderer.run (*writer);
    }
}

// What a deck does with a file the playlist accepted: a second reader of its own behind the
// read-ahead ring (resampled to the device's 44.1 kHz), played block by block across seeks and a
// loop wrap at its end.
void play (Marlode::DeckEngine& deck, juce::TimeSliceThread& readAhead, std::unique_ptr<juce::AudioFormatReader> reader)
{
    if (reader->numChannels > 2)
        return;

    const auto rate = reader->sampleRate;
    juce::AudioFormatReaderSource source (reader.release(), true);
    auto& transport = deck.transport;
    transport.setSource (&source, 32768, &readAhead, rate);
    deck.markers.resetForTrack (transport.getLengthInSeconds());
    deck.setHasTrack (true);
    transport.start();
    deck.setPlayState (Marlode::TransportState::Playing);

    juce::AudioBuffer<float> block (Marlode::DeckEngine::numChannels, deviceBlock);
    const auto pull = [&]
    {
        for (int n = 0; n < 16; ++n)
            deck.process ({ &block, 0, block.getNumSamples() });
    };

    const auto length = transport.getLengthInSeconds();
    pull();

    for (const auto seconds : { length / 2, length - 0.005, 0.0, length + 1.0 })
    {
        transport.setPosition (seconds);
        pull();
    }

    deck.markers.setLoopStart (length / 3);
    deck.markers.setLoopEnd (length / 2);
    deck.markers.setLoopOn (true);
    transport.setPosition (length / 2 - 0.01);
    pull();

    deck.setPlayState (Marlode::TransportState::Stopped);
    transport.stop();
    deck.setHasTrack (false);
    transport.setSource (nullptr, 0, nullptr, 0.0);
    deck.markers.clear();
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
        {
            exercise (*reader);

            if (auto deckReader = Marlode::AudioFileGuard::createReader (s.formats, file))
                play (s.deck, s.readAhead, std::move (deckReader));
        }
    }

    return 0;
}
