#pragma once

#include "dsp/BlockProcessor.h"
#include "dsp/CrossoverFilter.h"

#include <juce_dsp/juce_dsp.h>

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    A deck's listening section for checking mixes: the whole signal in mono, the lows in mono under
    a Linkwitz-Riley crossover (with solos and a safety limiter ending in a hard clip), or mid and
    side with solos and gains. A one-channel block passes untouched; the crossover's high half is on
    the first two channels, as a deck's block is stereo.

    The switches and values are written by the panel on the message thread and read by the block
    on the audio thread (relaxed atomics: a change takes effect at the next read, gains jump at the
    next block). The modes exclude each other by the panel's rules; here the crossover wins over
    mid/side. prepare() runs while no block does.
*/
class DeckEffects : public BlockProcessor
{
public:
    DeckEffects() = default;

    void prepare (double sampleRate, int maximumBlockSize, int numChannels) override;
    void process (const juce::AudioSourceChannelInfo&) noexcept override;

    // The panel writes them; the block reads them.
    std::atomic<bool> monoOn { false }, xOver { false }, soloHigh { false }, soloLow { false };
    std::atomic<bool> midSide { false }, midSolo { false }, sideSolo { false };
    std::atomic<float> xOverFreq { 100.0f }; // Hz
    std::atomic<float> midGain { 1.0f }, sideGain { 1.0f };

private:
    void processRegion (juce::AudioBuffer<float>&, int start, int n) noexcept;
    void sumToMono (juce::AudioBuffer<float>&, int start, int n) noexcept;
    void crossover (juce::AudioBuffer<float>&, int start, int n) noexcept;
    void midAndSide (juce::AudioBuffer<float>&, int start, int n) noexcept;

    juce::AudioBuffer<float> monoBuffer, midBuffer, sideBuffer;
    CrossoverFilter crossoverFilter;
    juce::dsp::Limiter<float> safetyLimiter;
    int capacity = 0; // samples the work buffers hold

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DeckEffects)
};

} // namespace Marlode
