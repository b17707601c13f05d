#include "engine/MasterGainStage.h"

namespace Marlode
{

void MasterGainStage::setPanFromSlider (double value) noexcept
{
    const auto pan = (2.0 * (value + 90.0)) / 180.0 - 1.0;
    double left = 1.0, right = 1.0;

    if (pan < 0.0)
        right = pan + 1.0;
    else if (pan > 0.0)
        left = 1.0 - pan;

    panPosition.store (pan, std::memory_order_relaxed);
    leftGain.store (left, std::memory_order_relaxed);
    rightGain.store (right, std::memory_order_relaxed);
}

void MasterGainStage::process (const juce::AudioSourceChannelInfo& info) const noexcept
{
    auto* buffer = info.buffer;

    if (buffer == nullptr)
        return;

    if (isMuted())
    {
        if (! buffer->hasBeenCleared())
            info.clearActiveBufferRegion();
        return;
    }

    const auto gain = getGain();

    if (gain == 1.0f && getPanPosition() == 0.0)
        return;

    if (buffer->getNumChannels() == 2)
    {
        if (! buffer->hasBeenCleared())
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (0, info.startSample),
                                                   gain * (float) getLeftGain(), info.numSamples);
        if (! buffer->hasBeenCleared())
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (1, info.startSample),
                                                   (float) getRightGain() * gain, info.numSamples);
        return;
    }

    // Pan means nothing without exactly two channels.
    if (! buffer->hasBeenCleared())
        for (int ch = 0; ch < buffer->getNumChannels(); ++ch)
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (ch, info.startSample), gain, info.numSamples);
}

} // namespace Marlode
