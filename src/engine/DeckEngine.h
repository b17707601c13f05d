#pragma once

#include "dsp/LevelMeterProcessor.h"
#include "dsp/BlockProcessor.h"
#include "dsp/TimeStretcher.h"
#include "engine/MarkerModel.h"
#include "engine/TrackTransport.h"
#include "engine/TransportState.h"

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    One deck's audio path, without a window: the transport, the time stretcher's place, the
    input meter, the equaliser, effects and limiter stages, the output meter, the loop wrap and
    the play position that every view reads.

    process() runs on the audio thread (or a render's worker thread); prepare() on the message
    thread or the device's thread while no block runs; the rest on the message thread unless
    marked.
*/
class DeckEngine
{
public:
    DeckEngine();
    ~DeckEngine();

    void prepare (int blockSize, double sampleRate);

    /** Audio thread: the deck's whole block. Allocates nothing and takes no lock. */
    void process (const juce::AudioSourceChannelInfo&) noexcept;

    //==============================================================================
    /** Any thread: seconds on the file's time line where the next block starts; 0 without a
        track or before the device's rate is known. A seek counts at once. */
    [[nodiscard]] double getPosition() const noexcept;

    [[nodiscard]] TransportState getPlayState() const noexcept { return playState.load (std::memory_order_relaxed); }

    /** Message thread: only the deck's player moves the play state. */
    void setPlayState (TransportState s) noexcept { playState.store (s, std::memory_order_relaxed); }

    /** Any thread: the deck plays, or is stopping or pausing from playing. */
    [[nodiscard]] bool isPlaying() const noexcept;

    /** Any thread: the deck still owes the output sound, playing or fading out after a stop. */
    [[nodiscard]] bool isSounding() const noexcept { return isPlaying() || transport.isSounding(); }

    /** Message thread: a track is loaded, or not (the block then gives silence). */
    void setHasTrack (bool present) noexcept { trackPresent.store (present, std::memory_order_release); }
    [[nodiscard]] bool hasTrack() const noexcept { return trackPresent.load (std::memory_order_acquire); }

    //==============================================================================
    /** Message thread, before the device runs or while no block does: where the deck's stages
        run, in this order after the input meter, and only while the deck plays. Not owned. */
    void setStages (BlockProcessor* equaliser, BlockProcessor* effects, BlockProcessor* limiter) noexcept;

    /** Message thread, before the device runs or while no block does: the stretcher the block
        pulls through while timeStretchOn is on, prepared here with the deck's block size,
        channels and rate. Not owned; null plays silence with the switch on. */
    void setStretcher (TimeStretcher* s) noexcept;

    /** The stretcher's switch: the message thread writes, the block reads. With it on and a
        stretcher made, the block pulls the transport through the stretcher. */
    std::atomic<bool> timeStretchOn { false };

    /** The factor the master plays this deck at, 1 unless loudness matching sets another: the
        message thread writes it, the master's block reads it. */
    std::atomic<float> matchGain { 1.0f };

    TrackTransport transport;
    MarkerModel markers;
    LevelMeterProcessor inputMeter, outputMeter;

    static constexpr int numChannels = 2;

private:
    void pull (const juce::AudioSourceChannelInfo&) noexcept;

    // The message thread writes it; the audio thread reads it to gate the stages, the master to
    // decide a hand-over.
    std::atomic<TransportState> playState { TransportState::Stopped };
    // The message thread writes it around loads; the audio thread reads it each block.
    std::atomic<bool> trackPresent { false };

    // The message thread sets them while no block runs; the audio thread reads them.
    std::array<std::atomic<BlockProcessor*>, 3> stages {};

    // The message thread sets it while no block runs; the audio thread reads it.
    std::atomic<TimeStretcher*> stretcher { nullptr };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DeckEngine)
};

} // namespace Marlode
