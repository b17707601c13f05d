#pragma once

#include "dsp/Ebu128LoudnessMeter.h"
#include "dsp/TruePeakMeter.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace Marlode
{

/** What one file measured, in dB unless said. A file that could not be measured carries the
    reason in `error` and -100 in every level. */
struct TrackAnalysisResults
{
    int numChannels = 0;
    float lufs = -100.0f;        // integrated loudness, LUFS
    float loudnessRange = 0.0f;  // LU
    float truePeakMax = -100.0f; // dBTP
    // The loudest 400 ms and 3 s windows, LUFS: not shown in the panel, printed for conformance checks.
    float momentaryMax = -300.0f, shortTermMax = -300.0f;
    double rmsLeft = -100.0, rmsRight = -100.0, rmsStereo = -100.0;
    double peakLeft = -100.0, peakRight = -100.0;
    juce::String error;
    bool cancelled = false;

    [[nodiscard]] bool measured() const noexcept { return error.isEmpty() && ! cancelled; }
};

//==============================================================================
/**
    Measures one audio file from start to end: integrated loudness and loudness range, true
    peak, sample peak and RMS per channel. The file is read in 512-sample blocks, the last one
    padded with zeros; RMS is the mean of the blocks' RMS values, not that of the whole file.
    Mono and stereo only.

    One object measures one file at a time on the calling (worker) thread; `cancel` and
    `getProgress` may be called from any thread meanwhile.
*/
class TrackAnalysis
{
public:
    TrackAnalysis() = default;

    /** Opens the file through the guard that refuses hostile files, then measures it. */
    [[nodiscard]] TrackAnalysisResults analyse (juce::AudioFormatManager&, const juce::File&);

    [[nodiscard]] TrackAnalysisResults analyse (juce::AudioFormatReader&);

    /** Stops the measurement in progress at its next block, and any later one at once. */
    void cancel() noexcept { cancelled.store (true, std::memory_order_relaxed); }
    [[nodiscard]] bool isCancelled() const noexcept { return cancelled.load (std::memory_order_relaxed); }

    /** Fraction of the current file read, 0 to 1. */
    [[nodiscard]] double getProgress() const noexcept { return progress.load (std::memory_order_relaxed); }

    /** 20 log10 (x) with a floor of -100, and -100 for x <= 0. */
    template <typename Value>
    [[nodiscard]] static Value decibels (Value x) noexcept
    {
        return x > Value (0) ? std::max (Value (20) * std::log10 (x), Value (-100)) : Value (-100);
    }

    static constexpr int blockSize = 512;
    // How often a second the loudness meter would be read: it sets the meter's bin rate.
    static constexpr int numLoudnessBlocks = 20;
    static constexpr const char* tooManyChannels = "Too many channels in audio file, audio files must be mono or stereo.";

private:
    // Written by any thread that cancels, read by the measuring thread.
    std::atomic<bool> cancelled { false };
    // Written by the measuring thread, read by whoever shows the progress.
    std::atomic<double> progress { 0.0 };

    Ebu128LoudnessMeter loudnessMeter;
    TruePeakMeter truePeakMeter;
    juce::AudioBuffer<float> buffer;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackAnalysis)
};

} // namespace Marlode
