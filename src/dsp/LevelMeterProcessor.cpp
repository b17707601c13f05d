#include "dsp/LevelMeterProcessor.h"

#include <cmath>

namespace Marlode
{

LevelMeterProcessor::LevelMeterProcessor()
{
    prepare (512, 44100.0);
}

void LevelMeterProcessor::acquire() noexcept
{
    // The audio thread holds the flag for one block's arithmetic at most.
    while (! tryAcquire())
        juce::Thread::yield();
}

void LevelMeterProcessor::setSteps (double levelSeconds, double peakSeconds) noexcept
{
    for (auto& c : channels)
    {
        c.levelSmoother.setFallTime (levelSeconds, sampleRate);
        c.peakSmoother.setFallTime (peakSeconds, sampleRate);
    }
}

void LevelMeterProcessor::prepare (int samplesPerBlock, double rate)
{
    acquire();
    sampleRate = rate > 0.0 ? rate : 44100.0;
    setSteps (smoothedLevelDecayTime.load(), smoothedPeakDecayTime.load());
    loudness.prepareToPlay (sampleRate, numChannels, samplesPerBlock, 33);
    truePeakMeter.prepare (numChannels, samplesPerBlock, sampleRate);
    release();
}

void LevelMeterProcessor::setDecayTimes (double levelSeconds, double peakSeconds)
{
    smoothedLevelDecayTime.store (levelSeconds);
    smoothedPeakDecayTime.store (peakSeconds);
    acquire();
    setSteps (levelSeconds, peakSeconds);
    release();
}

void LevelMeterProcessor::reset()
{
    acquire();
    loudness.reset();
    truePeakMeter.reset();

    for (auto& c : channels)
    {
        c.levelSmoother.reset();
        c.peakSmoother.reset();
        c.level = c.rmsLevel = c.maxHold = floorDb;
    }

    publish();
    release();
}

float LevelMeterProcessor::lufsValue() const noexcept
{
    switch (lufsMeterType.load (std::memory_order_relaxed))
    {
        case momentary: return loudness.getMomentaryLoudness();
        case shortTerm: return loudness.getShortTermLoudness();
        case integrated: return loudness.getIntegratedLoudness();
        default: return channels[0].level;
    }
}

void LevelMeterProcessor::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    auto* buffer = info.buffer;

    if (buffer == nullptr || buffer->getNumChannels() > numChannels || ! tryAcquire())
        return;

    const auto n = info.numSamples;
    const auto type = meterType.load (std::memory_order_relaxed);
    const auto blockChannels = buffer->getNumChannels();
    const auto cleared = buffer->hasBeenCleared();

    for (auto& c : channels)
    {
        c.levelSmoother.advance (n);
        c.peakSmoother.advance (n);
    }

    auto peakOf = [&] (int ch)
    {
        // The signed maximum: only positive excursions count.
        const auto m =
            cleared || n <= 0
                ? 0.0f
                : juce::FloatVectorOperations::findMinAndMax (buffer->getReadPointer (ch, info.startSample), n).getEnd();
        return juce::jmax (floorDb, juce::Decibels::gainToDecibels (m, -100.0f));
    };

    auto rmsOf = [&] (int ch)
    {
        const auto r = cleared || n <= 0 ? 0.0f : buffer->getRMSLevel (ch, info.startSample, n);
        return juce::jmax (floorDb, juce::Decibels::gainToDecibels (r, -100.0f));
    };

    if (type >= peak && type <= rmsAndPeak)
    {
        if (type == truePeak)
            truePeakMeter.process (info);

        for (int ch = 0; ch < blockChannels; ++ch)
        {
            auto& c = channels[(size_t) ch];

            if (type == peak || type == rmsAndPeak)
                c.level = peakOf (ch);
            else if (type == truePeak)
                c.level = juce::jmax (floorDb, truePeakMeter.getChannelPeakDb (ch));
            else
                c.level = rmsOf (ch);

            if (type == rmsAndPeak)
                c.rmsLevel = rmsOf (ch);

            c.levelSmoother.follow (type == rmsAndPeak ? c.rmsLevel : c.level);
            c.peakSmoother.follow (c.level);
            c.maxHold = juce::jmax (c.maxHold, c.level);
        }
    }
    else if (type == lufs || type == lufsAndTruePeak)
    {
        loudness.processBlock (info);

        if (type == lufsAndTruePeak)
            truePeakMeter.process (info);

        const auto v = juce::jmax (floorDb, lufsValue());

        for (int ch = 0; ch < numChannels; ++ch)
        {
            auto& c = channels[(size_t) ch];
            c.level = c.rmsLevel = v;
            c.levelSmoother.jumpTo (v);

            if (type == lufs)
            {
                // No ramp and no hold: the value jumps.
                c.maxHold = v;
                c.peakSmoother.jumpTo (v);
            }
            else
            {
                const auto p = juce::jmax (floorDb, truePeakMeter.getChannelPeakDb (ch));
                c.peakSmoother.follow (p);
                c.maxHold = juce::jmax (c.maxHold, p);
            }
        }
    }

    // A mono source shows two equal bars.
    if (blockChannels == 1)
    {
        channels[1].maxHold = channels[0].maxHold;
        channels[1].levelSmoother = channels[0].levelSmoother;
        channels[1].peakSmoother = channels[0].peakSmoother;
    }

    publish();
    release();
    blocksProcessed.fetch_add (1, std::memory_order_relaxed);
}

void LevelMeterProcessor::fallWhenIdle (bool deckIsPlaying)
{
    const auto blocks = blocksProcessed.load (std::memory_order_relaxed);
    const bool idle = blocks == blocksAtLastTick;
    blocksAtLastTick = blocks;

    // While blocks arrive, their own silence brings the bars down at the right speed.
    if (deckIsPlaying || ! idle || (meterType.load() == lufs && lufsMeterType.load() == integrated))
        return;

    acquire();
    const auto samples = (int) std::floor (sampleRate / 30.0);

    for (auto& c : channels)
        for (auto* s : { &c.levelSmoother, &c.peakSmoother })
        {
            s->advance (samples);
            s->follow (floorDb);
        }

    publish();
    release();
}

void LevelMeterProcessor::publish() noexcept
{
    for (size_t ch = 0; ch < channels.size(); ++ch)
    {
        shown[ch].level.store (channels[ch].levelSmoother.getCurrentDb(), std::memory_order_relaxed);
        shown[ch].peak.store (channels[ch].peakSmoother.getCurrentDb(), std::memory_order_relaxed);
        shown[ch].maxHold.store (channels[ch].maxHold, std::memory_order_relaxed);
    }
}

} // namespace Marlode
