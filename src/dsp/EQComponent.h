#pragma once

#include <juce_audio_basics/juce_audio_basics.h>
#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/**
    The parametric equaliser's place in the signal path and on screen. Until bands exist the
    equaliser has no filters, so process() leaves the block exactly as it came.

    process() runs on the audio thread; prepare() and the component on the message thread.
*/
class EQComponent : public juce::Component
{
public:
    EQComponent();

    void prepare (double sampleRate, int blockSize, int numChannels);
    void process (const juce::AudioSourceChannelInfo&) noexcept;

    [[nodiscard]] double getSampleRate() const noexcept { return preparedRate; }

    void paint (juce::Graphics&) override;

private:
    double preparedRate = 0.0;
    int preparedBlockSize = 0;
    int preparedChannels = 0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQComponent)
};

} // namespace Marlode
