#include "ui/VolumeAndPanComponent.h"

#include <cmath>

namespace Marlode
{

VolumeAndPanComponent::VolumeAndPanComponent()
{
    muteButton.setWantsKeyboardFocus (false);
    muteButton.onClick = [this] { gainStage.setMuted (muteButton.getToggleState()); };
    addAndMakeVisible (muteButton);

    volumeSlider.setRange (0.0, 1.0, 0.001);
    volumeSlider.setSkewFactorFromMidPoint (0.25);
    volumeSlider.setNumDecimalPlacesToDisplay (2);
    volumeSlider.setValue (1.0, juce::dontSendNotification);
    volumeSlider.setWantsKeyboardFocus (false);
    volumeSlider.textFromValueFunction = [] (double v)
    {
        const auto dB = v > 0.0 ? 20.0 * std::log10 (v) : -100.0;
        return dB <= -100.0 ? juce::String ("-Inf") : juce::String (dB, 1) + " dB";
    };
    volumeSlider.onValueChange = [this] { gainStage.setGain (volumeSlider.getValue()); };
    addAndMakeVisible (volumeSlider);

    panSlider.setRange (-90.0, 90.0, 1.0);
    panSlider.setValue (0.0, juce::dontSendNotification);
    panSlider.setDoubleClickReturnValue (true, 0.0);
    panSlider.setWantsKeyboardFocus (false);
    panSlider.textFromValueFunction = [] (double v) { return panText (v); };
    panSlider.onValueChange = [this] { gainStage.setPanFromSlider (panSlider.getValue()); };
    addAndMakeVisible (panSlider);
}

juce::String VolumeAndPanComponent::panText (double value)
{
    // The side comes from the unrounded value, so -0.4 reads "0L".
    if (value == 0.0)
        return "C";

    return juce::String (juce::roundToInt (std::abs (value))) + (value < 0.0 ? "L" : "R");
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
