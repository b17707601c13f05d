#include "dsp/StreamingPreview.h"
#include "dsp/LoudnessMatch.h"

namespace Marlode
{

namespace
{
    // Four points a sample can miss the highest point by a few hundredths
    // of a dB, and the meter that checks the output interpolates its own way.
    constexpr double ceilingMarginDb = 0.1;
}

StreamingPreview::StreamingPreview()
{
    limiter.setThresholdDb (ceilingDbTP - ceilingMarginDb);
}

double StreamingPreview::gainDb (double trackLufs, double targetLufs, bool boost) noexcept
{
    if (! LoudnessMatch::isProgramme (trackLufs) || ! std::isfinite (targetLufs))
        return 0.0;

    const auto difference = targetLufs - trackLufs;
    return boost ? difference : std::min (difference, 0.0);
}

double StreamingPreview::getGainDb() const noexcept
{
    return gainDb (trackLufs.load (std::memory_order_relaxed), getTarget(), isBoostAllowed());
}

void StreamingPreview::prepare (double sampleRate, int maximumBlockSize, int numChannels)
{
    gain.reset (sampleRate, 0.05);
    gain.setCurrentAndTargetValue (juce::Decibels::decibelsToGain ((float) getGainDb()));
    limiter.prepare (maximumBlockSize, numChannels, sampleRate);
    wasOn = wasLimiting = false;
}

void StreamingPreview::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    if (! isOn())
    {
        wasOn = wasLimiting = false;
        return;
    }

    const auto target = juce::Decibels::decibelsToGain ((float) getGainDb(), -200.0f);

    // Switched on now: start at the gain rather than glide from the last time it was on.
    if (! wasOn)
        gain.setCurrentAndTargetValue (target);
    else
        gain.setTargetValue (target);

    wasOn = true;

    auto& buffer = *info.buffer;

    if (gain.isSmoothing())
    {
        for (int i = info.startSample; i < info.startSample + info.numSamples; ++i)
        {
            const auto g = gain.getNextValue();
            for (int c = 0; c < buffer.getNumChannels(); ++c)
                buffer.getWritePointer (c)[i] *= g;
        }
    }
    else if (const auto g = gain.getTargetValue(); g != 1.0f)
    {
        buffer.applyGain (info.startSample, info.numSamples, g);
    }

    // The limiter's look-ahead line must not give back audio from the last time it ran.
    const auto limiting = isBoostAllowed();
    if (limiting && ! wasLimiting)
        limiter.reset();

    wasLimiting = limiting;

    if (limiting)
        limiter.process (buffer, info.startSample, info.numSamples);
}

} // namespace Marlode
