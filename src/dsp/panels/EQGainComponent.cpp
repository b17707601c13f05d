#include "dsp/panels/EQGainComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

EQGainComponent::EQGainComponent (const juce::String& t, juce::Slider& c) : title (t), control (c)
{
    addAndMakeVisible (control);
}

void EQGainComponent::paint (juce::Graphics& g)
{
    g.setColour (gainBoxColour.withAlpha (0.75f));
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);
    g.setColour (textColour);
    g.setFont (14.0f);
    g.drawText (title, getLocalBounds().removeFromTop (getHeight() / 2), juce::Justification::centred);
}

void EQGainComponent::resized()
{
    control.setBounds (getLocalBounds().removeFromBottom (getHeight() / 2).reduced (5, 2));
}

} // namespace Marlode
