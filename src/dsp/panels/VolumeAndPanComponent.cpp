#include "dsp/panels/VolumeAndPanComponent.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

VolumeAndPanComponent::VolumeAndPanComponent (MasterGainStage& stage) : gainStage (stage)
{
    muteButton.setClickingTogglesState (true);
    muteButton.setWantsKeyboardFocus (false);
    muteButton.setColour (juce::TextButton::buttonOnColourId, closeHoverColour);
    muteButton.setTooltip ("Mute");
    muteButton.onClick = [this] { gainStage.setMuted (muteButton.getToggleState()); };
    addAndMakeVisible (muteButton);

    // A plain factor, with a quarter of full scale (-12 dB) at the middle of the bar.
    volumeSlider.setRange (0.0, 1.0, 0.001);
    volumeSlider.setSkewFactorFromMidPoint (0.25);
    volumeSlider.setNumDecimalPlacesToDisplay (2);
    volumeSlider.setValue (1.0, juce::dontSendNotification);
    volumeSlider.setTextBoxStyle (juce::Slider::NoTextBox, true, 60, 10);
    volumeSlider.onValueChange = [this] { gainStage.setGain (volumeSlider.getValue()); };
    addAndMakeVisible (volumeSlider);

    panSlider.setTextBoxStyle (juce::Slider::NoTextBox, true, 60, 10);
    panSlider.onValueChange = [this] { gainStage.setPanFromSlider (panSlider.getValue()); };
    addAndMakeVisible (panSlider);
}

void VolumeAndPanComponent::toggleMute()
{
    muteButton.setToggleState (! muteButton.getToggleState(), juce::dontSendNotification);
    gainStage.setMuted (muteButton.getToggleState());
}

void VolumeAndPanComponent::resized()
{
    const auto w = getWidth(), h = getHeight();
    const auto muteWidth = juce::jmin (w, h);
    muteButton.setBounds (0, 0, muteWidth, h);

    const auto x = muteWidth + juce::jmin (w - muteWidth, 10);
    const auto sliderWidth = juce::jmax (0, w - x);
    const auto half = h / 2;
    volumeSlider.setBounds (x, 0, sliderWidth, juce::jmax (0, half - 5));
    panSlider.setBounds (x, half + 5, sliderWidth, juce::jmax (0, h - half - 5));
}

} // namespace Marlode
