#pragma once

#include "engine/MasterGainStage.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The master section's mute button, volume slider and pan slider. They drive `gainStage`,
    which the audio thread applies to every block. Message thread. */
class VolumeAndPanComponent : public juce::Component
{
public:
    VolumeAndPanComponent();

    void resized() override;

    /** The pan slider's text: "C" at exactly 0, otherwise the rounded size with "L" or "R". */
    static juce::String panText (double value);

    juce::ToggleButton muteButton { "Mute" };
    juce::Slider volumeSlider { juce::Slider::LinearBar, juce::Slider::NoTextBox };
    juce::Slider panSlider { juce::Slider::LinearBar, juce::Slider::NoTextBox };

    MasterGainStage gainStage;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VolumeAndPanComponent)
};

} // namespace Marlode
