#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The master's mute, volume and balance, applied to the whole output block.

    Volume is a plain factor (no dB law); pan is a linear balance: the nearer side stays at unity
    and full left or right silences the far channel. A change takes effect at the next block's
    start with no smoothing, and a block may see an old left factor with a new right one.

    The setters run on the message thread, process() on the audio thread.
*/
class MasterGainStage
{
public:
    void setMuted (bool shouldBeMuted) noexcept { muted.store (shouldBeMuted, std::memory_order_relaxed); }
    void setGain (double sliderValue) noexcept { masterGain.store ((float) sliderValue, std::memory_order_relaxed); }

    /** A pan slider position, -90 (left) to +90 (right), as balance factors. */
    struct Balance
    {
        double pan = 0.0, left = 1.0, right = 1.0;
    };

    [[nodiscard]] static Balance balanceFor (double sliderValue) noexcept;

    /** Takes the pan slider's value, -90 (left) to +90 (right). */
    void setPanFromSlider (double value) noexcept;

    void process (const juce::AudioSourceChannelInfo&) const noexcept;

    [[nodiscard]] bool isMuted() const noexcept { return muted.load (std::memory_order_relaxed); }
    [[nodiscard]] float getGain() const noexcept { return masterGain.load (std::memory_order_relaxed); }
    [[nodiscard]] double getPanPosition() const noexcept { return panPosition.load (std::memory_order_relaxed); }
    [[nodiscard]] double getLeftGain() const noexcept { return leftGain.load (std::memory_order_relaxed); }
    [[nodiscard]] double getRightGain() const noexcept { return rightGain.load (std::memory_order_relaxed); }

private:
    // All written on the message thread and read by the audio thread once a block.
    std::atomic<bool> muted { false };
    std::atomic<float> masterGain { 1.0f };
    std::atomic<double> panPosition { 0.0 };
    std::atomic<double> leftGain { 1.0 };
    std::atomic<double> rightGain { 1.0 };
};

} // namespace Marlode
