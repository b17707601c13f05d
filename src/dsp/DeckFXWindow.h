#pragma once

#include "ui/DesktopWindowComponent.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The deck's effects panel (time stretch, mono / mid-side / crossover, limiter) and its place
    in the block path, after the equaliser. With every effect off, process() is the identity.

    process() and the toggles' reads run on the audio thread; the rest on the message thread.
*/
class DeckFXWindow : public DesktopWindowComponent
{
public:
    DeckFXWindow();

    void prepare (double sampleRate, int blockSize, int numChannels);
    void process (const juce::AudioSourceChannelInfo&) noexcept;

    // The time stretch button's state: the message thread writes, the deck's block reads.
    std::atomic<bool> timeStretchOn { false };

private:
    double preparedRate = 0.0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DeckFXWindow)
};

} // namespace Marlode
