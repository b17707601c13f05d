#pragma once

#include "dsp/MasterGainStage.h"
#include "ui/HorizontalSlider.h"
#include "dsp/panels/PanSliderComponent.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The master section's mute button, volume bar and pan bar. They drive `gainStage`, which the
    audio thread applies to every block. Message thread. */
class VolumeAndPanComponent : public juce::Component
{
public:
    explicit VolumeAndPanComponent (MasterGainStage&);

    void resized() override;

    /** The mute key: flips the button without a click, and the gain follows. */
    void toggleMute();

    juce::TextButton muteButton { "M" };
    Slider::HorizontalSlider volumeSlider;
    Slider::PanSliderComponent panSlider;

    // The master engine owns it and applies it on the audio thread.
    MasterGainStage& gainStage;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VolumeAndPanComponent)
};

} // namespace Marlode
