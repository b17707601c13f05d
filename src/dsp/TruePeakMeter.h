#pragma once

#include <juce_dsp/juce_dsp.h>

#include <atomic>
#include <memory>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The inter-sample peak of each channel, found on the signal up-sampled four times (twice from
    96 kHz up) through half-band polyphase IIR stages. Only the up path is used; the block itself
    is never touched. Peaks are signed maxima: negative excursions don't count.

    prepare on the message thread (or a worker before it starts), process on the one thread that
    feeds the meter; the results can be read anywhere.
*/
class TruePeakMeter
{
public:
    TruePeakMeter();

    void prepare (int numChannels, int samplesPerBlock, double sampleRate);
    void process (const juce::AudioSourceChannelInfo&) noexcept;
    void reset() noexcept;

    /** The largest value of any channel since the last reset, in dB (floor -100). */
    [[nodiscard]] float getPeakDb() const noexcept { return peakDb.load (std::memory_order_relaxed); }

    /** The latest block's value of a channel, in dB (floor -100). */
    [[nodiscard]] float getChannelPeakDb (int channel) const noexcept;

    [[nodiscard]] int getOversamplingFactor() const noexcept;

    static constexpr float floorDb = -100.0f;

private:
    std::unique_ptr<juce::dsp::Oversampling<float>> oversampling;
    int channels = 0;
    int maxBlockSize = 0;

    std::atomic<float> peakDb { floorDb };
    std::vector<std::atomic<float>> channelPeakDb;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TruePeakMeter)
};

} // namespace Marlode
