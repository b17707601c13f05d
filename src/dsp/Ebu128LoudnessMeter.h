#pragma once

#include "dsp/SecondOrderIIRFilter.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    Loudness after EBU R128 / ITU-R BS.1770: momentary (400 ms), short-term (3 s), integrated
    and loudness range, in LUFS and LU. Results of -300 mean "nothing measured yet".

    The time axis is cut into bins whose rate divides the sample rate; the 400 ms and 3 s
    windows are sums over the circular bins, and the gates run every 100 ms on tenth-of-LU
    histograms of fixed size, so processBlock never allocates after prepareToPlay.

    One thread feeds a meter (the audio thread for a level meter, a worker for a file); any
    thread may read the results, each value on its own.
*/
class Ebu128LoudnessMeter
{
public:
    Ebu128LoudnessMeter();

    /** Message thread (or the worker, before it starts). expectedRequestRate is how often a
        second the results are read: the bins are at least that fine. */
    void prepareToPlay (double sampleRate, int numberOfChannels, int estimatedSamplesPerBlock, int expectedRequestRate);

    void processBlock (const juce::AudioSourceChannelInfo&) noexcept;
    void reset() noexcept;

    [[nodiscard]] float getMomentaryLoudness() const noexcept { return momentaryLoudness.load (std::memory_order_relaxed); }
    [[nodiscard]] float getMaximumMomentaryLoudness() const noexcept
    {
        return maximumMomentaryLoudness.load (std::memory_order_relaxed);
    }
    [[nodiscard]] float getShortTermLoudness() const noexcept { return shortTermLoudness.load (std::memory_order_relaxed); }
    [[nodiscard]] float getMaximumShortTermLoudness() const noexcept
    {
        return maximumShortTermLoudness.load (std::memory_order_relaxed);
    }
    [[nodiscard]] float getIntegratedLoudness() const noexcept { return integratedLoudness.load (std::memory_order_relaxed); }
    [[nodiscard]] float getLoudnessRangeStart() const noexcept { return loudnessRangeStart.load (std::memory_order_relaxed); }
    [[nodiscard]] float getLoudnessRangeEnd() const noexcept { return loudnessRangeEnd.load (std::memory_order_relaxed); }
    [[nodiscard]] float getLoudnessRange() const noexcept { return getLoudnessRangeEnd() - getLoudnessRangeStart(); }

    /** Tenths of a second measured since the last reset. */
    [[nodiscard]] int getMeasurementDuration() const noexcept { return measurementDuration; }

    [[nodiscard]] int getNumberOfBins() const noexcept { return numberOfBins; }
    [[nodiscard]] int getNumberOfSamplesPerBin() const noexcept { return numberOfSamplesPerBin; }
    [[nodiscard]] int getNumberOfBinsToCover400ms() const noexcept { return numberOfBinsToCover400ms; }
    [[nodiscard]] int getNumberOfBinsToCover100ms() const noexcept { return numberOfBinsToCover100ms; }

    /** Keeps the loudness range as it stands while the input is digital silence. */
    bool freezeLoudnessRangeOnSilence = false;

    static constexpr float minimumLoudness = -300.0f;

private:
    // Tenths of an LU, from the -100 LUFS gate up to well above full scale.
    static constexpr int lowestKey = -1000, highestKey = 300;
    static constexpr int numKeys = highestKey - lowestKey + 1;

    struct Histogram
    {
        std::array<int, numKeys> counts {};
        int top = lowestKey - 1; // highest key holding a count; below lowestKey when empty

        void clear() noexcept;
        void add (double loudness) noexcept;
        [[nodiscard]] bool isEmpty() const noexcept { return top < lowestKey; }
        [[nodiscard]] int count (int key) const noexcept { return counts[(size_t) (key - lowestKey)]; }
    };

    // One gated series of block loudnesses: the absolute gate at -70, a relative threshold some
    // LU under the mean of what passed it, and the histogram of every block above -100.
    struct Gate
    {
        explicit Gate (double gateLU) : relativeGate (gateLU) {}

        const double relativeGate; // LU relative to the gated mean

        int count = 0;
        double sum = 0.0;
        double relativeThreshold = -70.0;
        Histogram histogram;

        void add (double meanSquare) noexcept;
        void clear() noexcept;
    };

    void addSquares (int channels, int numSamples) noexcept;
    void completeBin() noexcept;
    void runGates() noexcept;
    void updateIntegrated() noexcept;
    void updateRange() noexcept;
    double weightedSum (const std::vector<double>& perChannel) const noexcept;

    SecondOrderIIRFilter preFilter, lowFrequencyFilter;
    int numberOfChannels = 0;
    int maxBlockSize = 0;

    // Per channel, the block after the two stages, squared (measuring thread only).
    std::vector<std::vector<double>> work;

    int numberOfBins = 0, numberOfSamplesPerBin = 0, numberOfSamplesInAllBins = 0;
    int numberOfBinsToCover400ms = 0, numberOfSamplesIn400ms = 0, numberOfBinsToCover100ms = 0;

    std::vector<std::vector<double>> bin;
    int currentBin = 0, numberOfSamplesInTheCurrentBin = 0, binsSinceLastGate = 1, measurementDuration = 0;
    std::vector<double> averageOfTheLast3s, averageOfTheLast400ms, channelWeighting;

    Gate integratedGate { -10.0 }, rangeGate { -20.0 };

    // Energy of each histogram key, 10^((key/10 + 0.691)/10), made once.
    std::array<double, numKeys> keyEnergy {};

    bool currentBlockIsSilent = false;

    // Written by the measuring thread, read anywhere.
    std::atomic<float> integratedLoudness { minimumLoudness }, loudnessRangeStart { minimumLoudness },
        loudnessRangeEnd { minimumLoudness }, shortTermLoudness { minimumLoudness }, maximumShortTermLoudness { minimumLoudness },
        momentaryLoudness { minimumLoudness }, maximumMomentaryLoudness { minimumLoudness };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (Ebu128LoudnessMeter)
};

} // namespace Marlode
