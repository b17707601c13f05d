#pragma once

#include "dsp/BlockProcessor.h"
#include "dsp/PeakLimiter.h"

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    A deck's limiter stage: input gain, the look-ahead PeakLimiter, output gain, and the gain
    reduction the panel shows. Switched off it neither runs nor delays, and its state waits as
    it was. The delay of the look-ahead (PeakLimiter::attackMs) is reported to nobody.

    The panel (LimiterComponent) owns it and sets it from the interface thread; the deck's
    engine prepares it and runs it.
*/
class LimiterProcessor : public BlockProcessor
{
public:
    static constexpr float maxReductionDb = 24.0f;
    static constexpr double displayFallTime = 1.0; // seconds to fall the whole of maxReductionDb

    LimiterProcessor() = default;

    void prepare (double sampleRate, int maximumBlockSize, int numChannels) override;
    void process (const juce::AudioSourceChannelInfo&) noexcept override;

    //==============================================================================
    // Interface thread.
    void setLimiterOn (bool on) noexcept { limiterOn.store (on, std::memory_order_relaxed); }
    [[nodiscard]] bool isLimiterOn() const noexcept { return limiterOn.load (std::memory_order_relaxed); }

    void setInputDb (double dB) noexcept { inputDb.store (dB, std::memory_order_relaxed); }
    void setOutputDb (double dB) noexcept { outputDb.store (dB, std::memory_order_relaxed); }
    void setThresholdDb (double dB) noexcept { limiter.setThresholdDb (dB); }
    void setReleaseMs (double ms) noexcept { limiter.setReleaseMs (ms); }

    //==============================================================================
    /** The displayed reduction, 0 to maxReductionDb: rises at once, falls by maxReductionDb per
        displayFallTime at most. */
    [[nodiscard]] float getReductionDb() const noexcept { return reductionDb.load (std::memory_order_relaxed); }

    /** True once per change of the reduction: the panel's get-and-clear. */
    [[nodiscard]] bool takeUpdate() noexcept { return updated.exchange (false, std::memory_order_acquire); }

    /** The panel's reset of a stopped or switched-off stage. */
    void clearReduction() noexcept;

    /** The limiter itself, for its settings and delay (its setters are thread-safe). */
    PeakLimiter limiter;

private:
    void showReduction (double blockMinGain, int numSamples) noexcept;

    // Written by the panel, read by the block.
    std::atomic<bool> limiterOn { false };
    // Written by the panel, read by the block (dB; -100 or less is silence).
    std::atomic<double> inputDb { 0.0 }, outputDb { 0.0 };
    // Written by the block (and by the panel's reset while no block runs), read by the panel.
    std::atomic<float> reductionDb { 0.0f };
    // Set by the block after writing reductionDb, cleared by the panel after reading it.
    std::atomic<bool> updated { false };

    double sampleRate = 44100.0; // written by prepare, read by the block

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LimiterProcessor)
};

} // namespace Marlode
