#include "engine/TrackAnalysis.h"
#include "engine/AudioFileGuard.h"

namespace Marlode
{

TrackAnalysisResults TrackAnalysis::analyse (juce::AudioFormatManager& formats, const juce::File& file)
{
    juce::String whyNot;

    if (auto reader = AudioFileGuard::createReader (formats, file, &whyNot))
        return analyse (*reader);

    TrackAnalysisResults refused;
    refused.error = whyNot;
    return refused;
}

TrackAnalysisResults TrackAnalysis::analyse (juce::AudioFormatReader& reader)
{
    TrackAnalysisResults results;
    results.numChannels = (int) reader.numChannels;
    progress.store (0.0, std::memory_order_relaxed);

    if (reader.numChannels > 2)
    {
        results.error = tooManyChannels;
        return results;
    }

    const auto channels = results.numChannels;
    const auto length = reader.lengthInSamples;

    buffer.setSize (channels, blockSize, false, false, true);
    buffer.clear();
    loudnessMeter.prepareToPlay (reader.sampleRate, channels, blockSize, numLoudnessBlocks);
    truePeakMeter.prepare (channels, blockSize, reader.sampleRate);

    int blocksRead = 0;
    double rmsSum[2] {};
    float peakMax[2] {};
    const juce::AudioSourceChannelInfo block (&buffer, 0, blockSize);

    for (juce::int64 position = 0; position < length; position += blockSize)
    {
        if (isCancelled())
        {
            results.cancelled = true;
            return results;
        }

        // Past the end the reader gives zeros, so the last block is padded.
        reader.read (&buffer, 0, blockSize, position, true, true);
        loudnessMeter.processBlock (block);
        truePeakMeter.process (block);
        ++blocksRead;

        for (int ch = 0; ch < channels; ++ch)
        {
            const auto* samples = buffer.getReadPointer (ch);
            double squares = 0.0;

            for (int i = 0; i < blockSize; ++i)
                squares += (double) samples[i] * samples[i];

            rmsSum[ch] += (float) std::sqrt (squares / blockSize);
            peakMax[ch] = std::max (peakMax[ch], buffer.getMagnitude (ch, 0, blockSize));
        }

        progress.store ((double) position / (double) length, std::memory_order_relaxed);
    }

    progress.store (1.0, std::memory_order_relaxed);

    const auto count = (double) std::max (1, blocksRead);
    results.lufs = loudnessMeter.getIntegratedLoudness();
    results.loudnessRange = loudnessMeter.getLoudnessRange();
    results.truePeakMax = truePeakMeter.getPeakDb();
    results.momentaryMax = loudnessMeter.getMaximumMomentaryLoudness();
    results.shortTermMax = loudnessMeter.getMaximumShortTermLoudness();
    results.rmsLeft = decibels (rmsSum[0] / count);
    results.rmsRight = decibels (rmsSum[1] / count);
    // A right channel that added nothing is a mono file: its left is the whole programme.
    results.rmsStereo = rmsSum[1] != 0.0 ? decibels ((rmsSum[0] + rmsSum[1]) * 0.5 / count) : results.rmsLeft;
    results.peakLeft = decibels (peakMax[0]);
    results.peakRight = decibels (peakMax[1]);
    return results;
}

} // namespace Marlode
