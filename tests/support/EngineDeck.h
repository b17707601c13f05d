#pragma once

#include "engine/DeckEngine.h"
#include "support/TestAudio.h"

namespace MarlodeTest
{

// One deck's engine playing a signal from memory, driven block by block with no device: what a
// render or an engine test does. Prepared for 512-sample blocks at 44.1 kHz.
struct EngineDeck
{
    explicit EngineDeck (juce::AudioBuffer<float> audio) : signal (std::move (audio))
    {
        thread.startThread();
        engine.prepare (512, 44100.0);
        engine.transport.setSource (&source, 32768, &thread, 44100.0);
        engine.markers.resetForTrack (engine.transport.getLengthInSeconds());
        engine.setHasTrack (true);
        pumpUntil ([this] { return engine.transport.getNumBufferedSamples() > 8192; }, 3000);
    }

    ~EngineDeck()
    {
        engine.transport.setSource (nullptr, 0, nullptr, 0.0);
        thread.stopThread (1000);
    }

    void play()
    {
        engine.transport.start();
        engine.setPlayState (Marlode::TransportState::Playing);
    }

    juce::AudioBuffer<float> signal;
    juce::MemoryAudioSource source { signal, false };
    juce::TimeSliceThread thread { "Read Ahead Buffer Thread" };
    Marlode::DeckEngine engine;
};

} // namespace MarlodeTest
