#include "engine/DeckEngine.h"

namespace Marlode
{

DeckEngine::DeckEngine() = default;

DeckEngine::~DeckEngine()
{
    // Nothing may read through the transport once the members below start going.
    transport.setSource (nullptr, 0, nullptr, 0.0);
}

void DeckEngine::prepare (int blockSize, double sampleRate)
{
    transport.prepareToPlay (blockSize, sampleRate);
    inputMeter.prepare (blockSize, sampleRate);
    outputMeter.prepare (blockSize, sampleRate);

    for (auto& stage : stages)
        if (auto* s = stage.load())
            s->prepare (sampleRate, blockSize, numChannels);

    if (auto* s = stretcher.load())
        s->prepare (blockSize, numChannels, sampleRate);
}

void DeckEngine::setStretcher (TimeStretcher* s) noexcept
{
    stretcher = s;
}

void DeckEngine::setStages (BlockProcessor* equaliser, BlockProcessor* effects, BlockProcessor* limiter) noexcept
{
    stages[0] = equaliser;
    stages[1] = effects;
    stages[2] = limiter;
}

double DeckEngine::getPosition() const noexcept
{
    return transport.getCurrentPosition();
}

bool DeckEngine::isPlaying() const noexcept
{
    const auto s = getPlayState();
    return s == TransportState::Playing || s == TransportState::Pausing || s == TransportState::Stopping;
}

//==============================================================================
void DeckEngine::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    // A track change on the message thread frees the transport's stream only after this block.
    const TrackTransport::BlockScope scope (transport);

    if (! hasTrack())
    {
        if (info.buffer != nullptr && ! info.buffer->hasBeenCleared())
            info.clearActiveBufferRegion();
    }
    else
    {
        const auto loopStart = markers.getLoopStart();
        const bool looping = markers.isLoopOn();

        // Both stay decoded ahead, so a wrap or a return to them never waits for the disk. A loop
        // that reaches the track's end comes back at the replay marker, inside the transport's
        // block so that no silence comes between.
        transport.setCuePoints (loopStart, markers.getReplay(), looping);

        // The loop wraps at block resolution: up to one block past the loop's end can sound.
        if (looping && transport.getSampleRate() > 0.0 && transport.isPlaying() && getPosition() >= markers.getLoopEnd())
            transport.setNextReadPosition (transport.toDevicePosition (loopStart));

        pull (info);
    }

    inputMeter.process (info);

    // Outside Playing the transport gives silence, and the stages rest.
    if (getPlayState() == TransportState::Playing)
        for (auto& stage : stages)
            if (auto* s = stage.load (std::memory_order_relaxed))
                s->process (info);

    outputMeter.process (info);
}

void DeckEngine::pull (const juce::AudioSourceChannelInfo& info) noexcept
{
    if (! timeStretchOn.load (std::memory_order_relaxed))
    {
        transport.getNextAudioBlock (info);
        return;
    }

    if (auto* s = stretcher.load (std::memory_order_relaxed))
        s->pull (transport, info);
    else
        info.clearActiveBufferRegion();
}

} // namespace Marlode
