#include "dsp/Ebu128LoudnessMeter.h"

#include <cmath>
#include <numeric>

namespace Marlode
{

namespace
{
    // BS.1770's loudness of a weighted mean square; the offset puts a 997 Hz full-scale sine at 0.
    double loudnessOf (double meanSquare) noexcept
    {
        return 10.0 * std::log10 (meanSquare) - 0.691;
    }

    float clampedLoudness (double meanSquare) noexcept
    {
        return meanSquare > 0.0 ? (float) std::max (-300.0, loudnessOf (meanSquare)) : Ebu128LoudnessMeter::minimumLoudness;
    }

    void raise (std::atomic<float>& maximum, float value) noexcept
    {
        if (value > maximum.load (std::memory_order_relaxed))
            maximum.store (value, std::memory_order_relaxed);
    }
}

//==============================================================================
void Ebu128LoudnessMeter::Histogram::clear() noexcept
{
    counts.fill (0);
    top = lowestKey - 1;
}

void Ebu128LoudnessMeter::Histogram::add (double loudness) noexcept
{
    // Nearest tenth of an LU, halves away from zero.
    const auto key = juce::jlimit (lowestKey, highestKey, (int) (10.0 * loudness + (loudness < 0.0 ? -0.5 : 0.5)));
    ++counts[(size_t) (key - lowestKey)];
    top = std::max (top, key);
}

void Ebu128LoudnessMeter::Gate::add (double meanSquare) noexcept
{
    // A zero mean square gives minus infinity, which fails both gates by itself.
    const auto L = loudnessOf (meanSquare);

    if (L > -70.0)
    {
        ++count;
        sum += meanSquare;
        relativeThreshold = loudnessOf (sum / count) + relativeGate;
    }

    if (L > -100.0)
        histogram.add (L);
}

void Ebu128LoudnessMeter::Gate::clear() noexcept
{
    count = 0;
    sum = 0.0;
    relativeThreshold = -70.0;
    histogram.clear();
}

//==============================================================================
Ebu128LoudnessMeter::Ebu128LoudnessMeter()
    : preFilter (SecondOrderIIRFilter::preFilter()), lowFrequencyFilter (SecondOrderIIRFilter::lowFrequencyBCurve())
{
    for (int key = lowestKey; key <= highestKey; ++key)
        keyEnergy[(size_t) (key - lowestKey)] = std::pow (10.0, ((double) key * 0.1 + 0.691) * 0.1);

    prepareToPlay (44100.0, 2, 512, 20);
}

void Ebu128LoudnessMeter::prepareToPlay (double sampleRate, int channels, int estimatedSamplesPerBlock, int expectedRequestRate)
{
    numberOfChannels = std::max (1, channels);
    maxBlockSize = std::max (512, estimatedSamplesPerBlock);
    preFilter.prepareToPlay (sampleRate, numberOfChannels);
    lowFrequencyFilter.prepareToPlay (sampleRate, numberOfChannels);
    work.assign ((size_t) numberOfChannels, std::vector<double> ((size_t) maxBlockSize, 0.0));

    // The bin rate: the request rate rounded up to tens, raised until it divides the sample rate.
    int r = 10;
    if (expectedRequestRate >= 10)
        r = ((expectedRequestRate - 1) / 10) * 10 + 10;

    while ((int) sampleRate % r != 0)
    {
        r += 10;
        if (r > sampleRate / 2.0)
        {
            r = 10;
            break;
        }
    }

    numberOfBins = 3 * r;
    numberOfSamplesPerBin = (int) (sampleRate / r);
    numberOfSamplesInAllBins = numberOfBins * numberOfSamplesPerBin;
    numberOfBinsToCover100ms = (int) (0.1 * r);
    numberOfBinsToCover400ms = (int) (0.4 * r);
    numberOfSamplesIn400ms = numberOfSamplesPerBin * numberOfBinsToCover400ms;

    bin.assign ((size_t) numberOfChannels, std::vector<double> ((size_t) numberOfBins, 0.0));
    averageOfTheLast3s.assign ((size_t) numberOfChannels, 0.0);
    averageOfTheLast400ms.assign ((size_t) numberOfChannels, 0.0);

    // Surround channels 3 and 4 (the rear pair) count 1.5 dB more.
    channelWeighting.assign ((size_t) numberOfChannels, 1.0);
    for (int ch = 3; ch <= 4 && ch < numberOfChannels; ++ch)
        channelWeighting[(size_t) ch] = 1.41;

    reset();
}

void Ebu128LoudnessMeter::reset() noexcept
{
    for (auto& channelBins : bin)
        std::fill (channelBins.begin(), channelBins.end(), 0.0);

    std::fill (averageOfTheLast3s.begin(), averageOfTheLast3s.end(), 0.0);
    std::fill (averageOfTheLast400ms.begin(), averageOfTheLast400ms.end(), 0.0);
    currentBin = 0;
    numberOfSamplesInTheCurrentBin = 0;
    measurementDuration = 0;
    binsSinceLastGate = 1;
    integratedGate.clear();
    rangeGate.clear();

    for (auto* value : { &integratedLoudness, &loudnessRangeStart, &loudnessRangeEnd, &shortTermLoudness,
                         &maximumShortTermLoudness, &momentaryLoudness, &maximumMomentaryLoudness })
        value->store (minimumLoudness, std::memory_order_relaxed);
}

//==============================================================================
void Ebu128LoudnessMeter::processBlock (const juce::AudioSourceChannelInfo& info) noexcept
{
    const auto* buffer = info.buffer;

    if (buffer == nullptr || info.numSamples <= 0)
        return;

    const auto channels = std::min ({ buffer->getNumChannels(), numberOfChannels, preFilter.getNumChannels() });
    const auto cleared = buffer->hasBeenCleared();

    if (freezeLoudnessRangeOnSilence)
        currentBlockIsSilent = cleared || buffer->getMagnitude (info.startSample, info.numSamples) < 1.0e-12f;

    // Blocks longer than prepared for go through in pieces, so nothing is allocated here.
    for (int offset = 0; offset < info.numSamples; offset += maxBlockSize)
    {
        const auto length = std::min (maxBlockSize, info.numSamples - offset);

        for (int ch = 0; ch < channels; ++ch)
        {
            auto* samples = work[(size_t) ch].data();

            if (cleared)
                std::fill (samples, samples + length, 0.0);
            else
                std::copy_n (buffer->getReadPointer (ch, info.startSample + offset), length, samples);

            if (channels != 2)
            {
                preFilter.process (ch, samples, length);
                lowFrequencyFilter.process (ch, samples, length);
            }
        }

        if (channels == 2)
            SecondOrderIIRFilter::processStereoCascade (preFilter, lowFrequencyFilter, work[0].data(), work[1].data(), length);

        for (int ch = 0; ch < channels; ++ch)
        {
            auto* samples = work[(size_t) ch].data();
            for (int i = 0; i < length; ++i)
                samples[i] *= samples[i];
        }

        addSquares (channels, length);
    }
}

void Ebu128LoudnessMeter::addSquares (int channels, int numSamples) noexcept
{
    int position = 0;

    while (position < numSamples)
    {
        const auto take = std::min (numSamples - position, numberOfSamplesPerBin - numberOfSamplesInTheCurrentBin);

        for (int ch = 0; ch < channels; ++ch)
        {
            const auto* squares = work[(size_t) ch].data() + position;
            bin[(size_t) ch][(size_t) currentBin] += std::accumulate (squares, squares + take, 0.0);
        }

        numberOfSamplesInTheCurrentBin += take;
        position += take;

        if (numberOfSamplesInTheCurrentBin >= numberOfSamplesPerBin)
            completeBin();
    }
}

double Ebu128LoudnessMeter::weightedSum (const std::vector<double>& perChannel) const noexcept
{
    double sum = 0.0;

    for (size_t ch = 0; ch < perChannel.size(); ++ch)
        sum += channelWeighting[ch] * perChannel[ch];

    return sum;
}

void Ebu128LoudnessMeter::completeBin() noexcept
{
    for (int ch = 0; ch < numberOfChannels; ++ch)
    {
        const auto& channelBins = bin[(size_t) ch];
        averageOfTheLast3s[(size_t) ch] =
            std::accumulate (channelBins.begin(), channelBins.end(), 0.0) / numberOfSamplesInAllBins;

        double last400ms = 0.0;
        for (int b = 0; b < numberOfBinsToCover400ms; ++b)
            last400ms += channelBins[(size_t) ((currentBin - b + numberOfBins) % numberOfBins)];

        averageOfTheLast400ms[(size_t) ch] = last400ms / numberOfSamplesIn400ms;
    }

    const auto shortTerm = clampedLoudness (weightedSum (averageOfTheLast3s));
    shortTermLoudness.store (shortTerm, std::memory_order_relaxed);
    raise (maximumShortTermLoudness, shortTerm);

    const auto momentary = clampedLoudness (weightedSum (averageOfTheLast400ms));
    momentaryLoudness.store (momentary, std::memory_order_relaxed);
    raise (maximumMomentaryLoudness, momentary);

    if (binsSinceLastGate != numberOfBinsToCover100ms)
    {
        ++binsSinceLastGate;
    }
    else
    {
        binsSinceLastGate = 1;
        ++measurementDuration;
        runGates();
    }

    currentBin = (currentBin + 1) % numberOfBins;

    for (auto& channelBins : bin)
        channelBins[(size_t) currentBin] = 0.0;

    numberOfSamplesInTheCurrentBin = 0;
}

void Ebu128LoudnessMeter::runGates() noexcept
{
    integratedGate.add (weightedSum (averageOfTheLast400ms));
    updateIntegrated();

    // The range is a distribution of whole 3 s windows: one that still reaches back before the
    // start holds zeros, and a short steady programme would show a range from its rise alone.
    if (measurementDuration < numberOfBins / numberOfBinsToCover100ms)
        return;

    rangeGate.add (weightedSum (averageOfTheLast3s));
    updateRange();
}

void Ebu128LoudnessMeter::updateIntegrated() noexcept
{
    const auto& h = integratedGate.histogram;
    const auto relativeThreshold = integratedGate.relativeThreshold;

    if (h.isEmpty() || h.top * 0.1 <= relativeThreshold)
        return;

    double energy = 0.0;
    double count = 0.0;

    for (int key = std::max (lowestKey, (int) (10.0 * relativeThreshold)); key <= h.top; ++key)
    {
        const auto n = h.count (key);
        energy += n * keyEnergy[(size_t) (key - lowestKey)];
        count += n;
    }

    integratedLoudness.store (count > 0.0 ? (float) loudnessOf (energy / count) : minimumLoudness, std::memory_order_relaxed);
}

void Ebu128LoudnessMeter::updateRange() noexcept
{
    const auto& h = rangeGate.histogram;
    const auto rangeRelativeThreshold = rangeGate.relativeThreshold;

    if (h.isEmpty() || h.top * 0.1 <= rangeRelativeThreshold || (freezeLoudnessRangeOnSilence && currentBlockIsSilent))
        return;

    const auto first = std::max (lowestKey, (int) (10.0 * rangeRelativeThreshold));
    int total = 0;

    for (int key = first; key <= h.top; ++key)
        total += h.count (key);

    if (total == 0)
        return;

    // The 10 % point from below and the 95 % point (5 % from above) of the gated distribution.
    int running = 0;
    for (int key = first; key <= h.top; ++key)
        if ((running += h.count (key)) >= total * 0.1)
        {
            loudnessRangeStart.store ((float) (key * 0.1), std::memory_order_relaxed);
            break;
        }

    running = 0;
    for (int key = h.top; key >= first; --key)
        if ((running += h.count (key)) >= total * 0.05)
        {
            loudnessRangeEnd.store ((float) (key * 0.1), std::memory_order_relaxed);
            break;
        }
}

} // namespace Marlode
