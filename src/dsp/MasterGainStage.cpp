#include "dsp/MasterGainStage.h"

namespace Marlode
{

MasterGainStage::Balance MasterGainStage::balanceFor (double value) noexcept
{
    Balance b;
    b.pan = (2.0 * (value + 90.0)) / 180.0 - 1.0;

    if (b.pan < 0.0)
        b.right = b.pan + 1.0;
    else if (b.pan > 0.0)
        b.left = 1.0 - b.pan;

    return b;
}

void MasterGainStage::setPanFromSlider (double value) noexcept
{
    const auto b = balanceFor (value);
    panPosition.store (b.pan, std::memory_order_relaxed);
    leftGain.store (b.left, std::memory_order_relaxed);
    rightGain.store (b.right, std::memory_order_relaxed);
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
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (0, info.startSample), gain * (float) getLeftGain(),
                                                   info.numSamples);
        if (! buffer->hasBeenCleared())
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (1, info.startSample), (float) getRightGain() * gain,
                                                   info.numSamples);
        return;
    }

    // Pan means nothing without exactly two channels.
    if (! buffer->hasBeenCleared())
        for (int ch = 0; ch < buffer->getNumChannels(); ++ch)
            juce::FloatVectorOperations::multiply (buffer->getWritePointer (ch, info.startSample), gain, info.numSamples);
}

} // namespace Marlode
