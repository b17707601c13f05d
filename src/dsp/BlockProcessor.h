#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

namespace Marlode
{

//==============================================================================
/**
    A stage of a deck's or the master's chain (equaliser, effects, limiter): prepared on the
    message thread (or the device's thread on a restart) while no block runs through it, then
    processed in place on the audio thread or on a render's worker thread.
*/
class BlockProcessor
{
public:
    virtual ~BlockProcessor() = default;

    virtual void prepare (double sampleRate, int maximumBlockSize, int numChannels) = 0;

    /** Allocates nothing and takes no lock. */
    virtual void process (const juce::AudioSourceChannelInfo&) noexcept = 0;
};

} // namespace Marlode
