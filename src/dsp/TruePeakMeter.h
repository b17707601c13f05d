#pragma once

#include "dsp/TruePeakInterpolator.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <atomic>
#include <memory>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The inter-sample peak of each channel, found on the signal up-sampled four times (twice from
    96 kHz up) by a linear-phase windowed-sinc interpolator. The block itself is never touched.
    Peaks are signed maxima: negative excursions don't count. Each block's answer lags by the
    interpolator's few samples of look-ahead, whose history carries over to the next block.

    Not the framework's half-band IIR oversampler: its stages are not linear-phase, so they change
    the crest of a wide-band signal, and full-band white noise read -4.3 dBTP where libebur128
    (and this interpolator) read -7.1.

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
    TruePeakInterpolator interpolator;
    int channels = 0;
    int pointsPerSample = TruePeakInterpolator::factor;

    std::atomic<float> peakDb { floorDb };
    std::vector<std::atomic<float>> channelPeakDb;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TruePeakMeter)
};

} // namespace Marlode
