// The cost of one 512-sample device block through a playing deck and the master path, on the
// engine library alone, as a real-time factor (the block's duration at 44.1 kHz over the time it
// takes), beside a baseline: the same file through JUCE's own AudioTransportSource with its
// buffering source.
#include "dsp/DeckEffects.h"
#include "dsp/LimiterProcessor.h"
#include "dsp/ParametricEqualiser.h"
#include "dsp/TimeStretcher.h"
#include "engine/MasterEngine.h"

#include <juce_audio_devices/juce_audio_devices.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>

namespace
{
constexpr int blockSize = 512;
constexpr double rate = 44100.0;
constexpr double blockSeconds = blockSize / rate;

juce::File makeTrack()
{
    const auto file = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("marlode-bench.wav");
    if (file.existsAsFile())
        return file;

    const int n = (int) rate * 30;
    juce::AudioBuffer<float> b (2, n);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < n; ++i)
            b.setSample (c, i, 0.5f * (float) std::sin (0.01 * i * (c + 1)));

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> w (wav.createWriterFor (file.createOutputStream().release(), rate, 2, 24, {}, 0));
    w->writeFromAudioSampleBuffer (b, 0, n);
    return file;
}

void addRealTimeFactor (benchmark::State& state)
{
    state.counters["realtime_factor"] = benchmark::Counter (blockSeconds, benchmark::Counter::kIsIterationInvariantRate);
}

template <typename Buffered>
void waitIfDrained (benchmark::State& state, Buffered&& buffered)
{
    // Faster than real time the read-ahead can't keep up; its refill isn't the block's cost.
    if (buffered() < blockSize * 2)
    {
        state.PauseTiming();
        while (buffered() < 16384)
            juce::Thread::sleep (1);
        state.ResumeTiming();
    }
}

// The engine alone, as the device drives it: the master's path with one deck playing the
// bench track and its meters measuring; no component, no device.
struct PlayingDeck
{
    PlayingDeck()
    {
        formats.registerBasicFormats();
        auto* reader = formats.createReaderFor (makeTrack());
        const auto fileRate = reader->sampleRate;
        source = std::make_unique<juce::AudioFormatReaderSource> (reader, true);

        deck.prepare (blockSize, rate);
        master.prepare (blockSize, rate);
        readAhead.startThread();
        deck.transport.setSource (source.get(), 32768, &readAhead, fileRate);
        deck.markers.resetForTrack (deck.transport.getLengthInSeconds());
        deck.setHasTrack (true);
        master.selectDeck (&deck);
        deck.transport.start();
        deck.setPlayState (Marlode::TransportState::Playing);
    }

    ~PlayingDeck() { deck.transport.setSource (nullptr, 0, nullptr, 0.0); }

    bool isPlaying() const { return deck.transport.isPlaying(); }
    Marlode::TrackTransport& transport() { return deck.transport; }
    void block() { master.process (info); }

    juce::AudioFormatManager formats;
    std::unique_ptr<juce::AudioFormatReaderSource> source;
    juce::TimeSliceThread readAhead { "bench read-ahead" };
    Marlode::DeckEngine deck;
    Marlode::MasterEngine master;
    juce::AudioBuffer<float> buffer { 2, blockSize };
    const juce::AudioSourceChannelInfo info { &buffer, 0, blockSize };
};

// Ordinary blocks of a playing deck, timed, with the read-ahead's refills left out.
void runPlayingBlocks (benchmark::State& state, PlayingDeck& playing)
{
    if (! playing.isPlaying())
        return state.SkipWithError ("the deck didn't start playing");

    for (auto _ : state)
    {
        waitIfDrained (state, [&] { return playing.transport().getNumBufferedSamples(); });
        playing.block();
        benchmark::DoNotOptimize (playing.buffer.getReadPointer (0));
    }

    addRealTimeFactor (state);
}

void DeckAndMasterPath (benchmark::State& state)
{
    PlayingDeck playing;
    runPlayingBlocks (state, playing);
}

// A loop wrap as the deck's block makes it: the request and the block that plays the loop
// start's decoded audio, every iteration.
void BlockAfterAWrap (benchmark::State& state)
{
    PlayingDeck playing;
    auto& transport = playing.transport();
    playing.deck.markers.setLoopStart (5.0);
    playing.block();
    while (! transport.isCueReady (5.0))
        juce::Thread::sleep (1);

    if (! playing.isPlaying())
        return state.SkipWithError ("the deck didn't start playing");

    for (auto _ : state)
    {
        transport.setNextReadPosition ((juce::int64) (5.0 * rate));
        playing.block();
        benchmark::DoNotOptimize (playing.buffer.getReadPointer (0));
    }

    addRealTimeFactor (state);
}

// A seek from the message thread (not timed), then the block that starts at the new place.
void BlockAfterASeek (benchmark::State& state)
{
    PlayingDeck playing;
    if (! playing.isPlaying())
        return state.SkipWithError ("the deck didn't start playing");

    juce::Random random (1);

    // Timed by hand around the block alone: pausing the benchmark's own clock costs more
    // than the difference being measured.
    for (auto _ : state)
    {
        playing.transport().setPosition (random.nextDouble() * 25.0);
        const auto start = std::chrono::steady_clock::now();
        playing.block();
        const auto end = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize (playing.buffer.getReadPointer (0));
        state.SetIterationTime (std::chrono::duration<double> (end - start).count());
    }

    addRealTimeFactor (state);
}

// Everything a deck and the master can do at once, but the stretcher unless asked: eight
// equaliser bands on the deck and on the master, the crossover, the limiter, both meters on
// loudness with true peak.
struct EverythingOn : PlayingDeck
{
    explicit EverythingOn (bool stretch)
    {
        for (auto* eq : { &deckEQ, &masterEQ })
        {
            eq->prepare (rate, blockSize, 2);
            for (int i = 0; i < 8; ++i)
            {
                Marlode::EQBandValues v;
                v.filterType = 1 + i % 5;
                v.freq = 40.0 * std::pow (2.0, i);
                v.gain = 3.0;
                eq->addBand (v);
            }
        }
        effects.monoOn = true;
        effects.xOver = true;
        limiter.setLimiterOn (true);
        limiter.setThresholdDb (-6.0);
        for (auto* meter : { &deck.inputMeter, &deck.outputMeter })
            meter->meterType = Marlode::LevelMeterProcessor::lufsAndTruePeak;

        deck.setStages (&deckEQ, &effects, &limiter);
        master.setEqualiser (&masterEQ);
        if (stretch)
        {
            stretcher.setTimeRatio (1.5);
            deck.setStretcher (&stretcher);
            deck.timeStretchOn = true;
        }
        // Each stage alone: preparing the whole deck again would restart its playing transport.
        effects.prepare (rate, blockSize, 2);
        limiter.prepare (rate, blockSize, 2);
        stretcher.prepare (blockSize, 2, rate);
    }

    ~EverythingOn()
    {
        deck.setStretcher (nullptr);
        deck.setStages (nullptr, nullptr, nullptr);
        master.setEqualiser (nullptr);
    }

    Marlode::ParametricEqualiser deckEQ { true }, masterEQ { false };
    Marlode::DeckEffects effects;
    Marlode::LimiterProcessor limiter;
    Marlode::TimeStretcher stretcher;
};

void EverythingButTheStretcher (benchmark::State& state)
{
    EverythingOn playing (false);
    runPlayingBlocks (state, playing);
}

void EverythingWithStretcherAt1_5 (benchmark::State& state)
{
    EverythingOn playing (true);
    runPlayingBlocks (state, playing);
}

void BaselineJuceTransport (benchmark::State& state)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    auto* reader = formats.createReaderFor (makeTrack());
    const auto length = (int) reader->lengthInSamples;
    juce::AudioFormatReaderSource source (reader, true);
    juce::TimeSliceThread thread ("baseline read-ahead");
    thread.startThread();

    // The whole file is buffered before timing starts, so no block waits for the disk.
    juce::BufferingAudioSource buffering (&source, thread, false, length, 2);
    juce::AudioTransportSource transport;
    transport.setSource (&buffering);
    transport.prepareToPlay (blockSize, rate);
    juce::Thread::sleep (2000);
    transport.start();

    juce::AudioBuffer<float> buffer (2, blockSize);
    const juce::AudioSourceChannelInfo info (&buffer, 0, blockSize);

    for (auto _ : state)
    {
        transport.getNextAudioBlock (info);
        benchmark::DoNotOptimize (buffer.getReadPointer (0));
    }

    transport.setSource (nullptr);
    addRealTimeFactor (state);
}

}

// 2000 blocks (23 s of audio) fit in the 30 s file, so neither path runs past its end.
BENCHMARK (DeckAndMasterPath)->Unit (benchmark::kMicrosecond)->Iterations (2000)->Repetitions (5)->ReportAggregatesOnly (true);
BENCHMARK (BlockAfterAWrap)->Unit (benchmark::kMicrosecond)->Iterations (2000)->Repetitions (5)->ReportAggregatesOnly (true);
BENCHMARK (BlockAfterASeek)
    ->UseManualTime()
    ->Unit (benchmark::kMicrosecond)
    ->Iterations (500)
    ->Repetitions (5)
    ->ReportAggregatesOnly (true);
BENCHMARK (EverythingButTheStretcher)
    ->Unit (benchmark::kMicrosecond)
    ->Iterations (2000)
    ->Repetitions (5)
    ->ReportAggregatesOnly (true);
// At 1.5 the transport runs at two thirds of the device's pace: 2000 blocks still fit the file.
BENCHMARK (EverythingWithStretcherAt1_5)
    ->Unit (benchmark::kMicrosecond)
    ->Iterations (2000)
    ->Repetitions (5)
    ->ReportAggregatesOnly (true);
BENCHMARK (BaselineJuceTransport)
    ->Unit (benchmark::kMicrosecond)
    ->Iterations (2000)
    ->Repetitions (5)
    ->ReportAggregatesOnly (true);
