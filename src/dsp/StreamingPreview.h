#pragma once

#include "dsp/BlockProcessor.h"
#include "dsp/PeakLimiter.h"

#include <atomic>
#include <cmath>

namespace Marlode
{

//==============================================================================
/**
    Plays the current track as a streaming service that normalises to a loudness would: turned
    down by how far its integrated loudness lies above the target, and, only when boosting is
    allowed, turned up by how far it lies below, with a true-peak limiter at -1 dBTP guarding
    the boost (as such services do).

    Off, the block is not touched. A gain change glides over 50 ms so a new track or target
    does not click.

    The setters run on the message thread; prepare while no block runs; process on the audio
    thread.
*/
class StreamingPreview : public BlockProcessor
{
public:
    StreamingPreview();

    /** The gain in dB a service normalising to `targetLufs` gives a track of `trackLufs`; 0 for
        a track whose loudness is not known or is silence. */
    [[nodiscard]] static double gainDb (double trackLufs, double targetLufs, bool allowBoost) noexcept;

    /** The level to preview at in LUFS, or NaN for off. */
    void setTarget (double lufs) noexcept { targetLufs.store (lufs, std::memory_order_relaxed); }
    [[nodiscard]] double getTarget() const noexcept { return targetLufs.load (std::memory_order_relaxed); }
    [[nodiscard]] bool isOn() const noexcept { return ! std::isnan (getTarget()); }

    /** The current track's integrated loudness in LUFS, or NaN while not known. */
    void setTrackLoudness (double lufs) noexcept { trackLufs.store (lufs, std::memory_order_relaxed); }

    void setAllowBoost (bool allowed) noexcept { allowBoost.store (allowed, std::memory_order_relaxed); }
    [[nodiscard]] bool isBoostAllowed() const noexcept { return allowBoost.load (std::memory_order_relaxed); }

    /** What the settings give now, in dB: the value the gain glides to. */
    [[nodiscard]] double getGainDb() const noexcept;

    static constexpr double ceilingDbTP = -1.0;

    void prepare (double sampleRate, int maximumBlockSize, int numChannels) override;
    void process (const juce::AudioSourceChannelInfo&) noexcept override;

private:
    // All three: the message thread writes, the audio thread reads each block.
    std::atomic<double> targetLufs { std::nan ("") };
    std::atomic<double> trackLufs { std::nan ("") };
    std::atomic<bool> allowBoost { false };

    // The audio thread's own.
    juce::LinearSmoothedValue<float> gain { 1.0f };
    PeakLimiter limiter { PeakLimiter::Detection::truePeak };
    bool wasOn = false, wasLimiting = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (StreamingPreview)
};

} // namespace Marlode
