#include "dsp/LevelMeter.h"

namespace Marlode
{

LevelMeter::LevelMeter()
{
    for (auto& p : peakDb)
        p.store (floorDb);
}

void LevelMeter::prepare (int, double)
{
    reset();
}

void LevelMeter::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    auto* buffer = info.buffer;

    // Blocks with more channels than the meter's two bars aren't measured at all.
    if (buffer == nullptr || buffer->getNumChannels() > 2)
        return;

    for (int ch = 0; ch < buffer->getNumChannels(); ++ch)
    {
        const auto peak = buffer->hasBeenCleared() ? 0.0f : buffer->getMagnitude (ch, info.startSample, info.numSamples);
        peakDb[(size_t) ch].store (juce::Decibels::gainToDecibels (peak, floorDb), std::memory_order_relaxed);
    }
}

void LevelMeter::reset()
{
    for (auto& p : peakDb)
        p.store (floorDb);
}

float LevelMeter::getPeakDb (int channel) const noexcept
{
    return juce::isPositiveAndBelow (channel, 2) ? peakDb[(size_t) channel].load (std::memory_order_relaxed) : floorDb;
}

void LevelMeter::timerRelayCallback()
{
    const std::array<float, 2> now { getPeakDb (0), getPeakDb (1) };

    if (now != shownDb)
    {
        shownDb = now;
        repaint();
    }
}

void LevelMeter::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff0f0f0f));
    const auto barWidth = (float) getWidth() / 2.0f;

    for (size_t ch = 0; ch < 2; ++ch)
    {
        const auto proportion = (shownDb[ch] - floorDb) / -floorDb;
        const auto barHeight = (float) getHeight() * juce::jlimit (0.0f, 1.0f, proportion);
        g.setColour (juce::Colour (0xff008000));
        g.fillRect (juce::Rectangle<float> ((float) ch * barWidth + 4.0f, (float) getHeight() - barHeight,
                                            barWidth - 8.0f, barHeight));
    }
}

} // namespace Marlode
