#include "dsp/panels/MonoComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

MonoComponent::MonoComponent()
{
    xOverFreqSlider.setSkewFactorFromMidPoint (2000.0);
    xOverFreqSlider.setValue (100.0, juce::dontSendNotification);
    for (auto* s : { &midGainSlider, &sideGainSlider })
        s->setValue (1.0, juce::dontSendNotification);
    for (auto* s : { &xOverFreqSlider, &midGainSlider, &sideGainSlider })
    {
        s->onValueChange = [this] { updateStage(); };
        addAndMakeVisible (s);
    }

    for (auto* b :
         { &monoButton, &xOverButton, &soloHighButton, &soloLowButton, &midSideButton, &midSoloButton, &sideSoloButton })
    {
        b->setClickingTogglesState (true);
        b->setColour (juce::TextButton::buttonOnColourId, onColour);
        b->onClick = [this] { updateStage(); };
        addAndMakeVisible (b);
    }

    xOverButton.onClick = [this] { exclude (xOverButton, midSideButton, juce::sendNotificationSync); };
    midSideButton.onClick = [this] { exclude (midSideButton, xOverButton, juce::sendNotificationSync); };
    soloHighButton.onClick = [this] { exclude (soloHighButton, soloLowButton, juce::dontSendNotification); };
    soloLowButton.onClick = [this] { exclude (soloLowButton, soloHighButton, juce::dontSendNotification); };
    midSoloButton.onClick = [this] { exclude (midSoloButton, sideSoloButton, juce::dontSendNotification); };
    sideSoloButton.onClick = [this] { exclude (sideSoloButton, midSoloButton, juce::dontSendNotification); };

    for (auto* l : { &xOverFreqLabel, &midGainLabel, &sideGainLabel })
    {
        l->setJustificationType (juce::Justification::centred);
        l->setColour (juce::Label::textColourId, textColour);
        addAndMakeVisible (l);
    }

    updateStage();
}

void MonoComponent::getState (DeckState& s) const
{
    for (const auto& c : switches)
        s.*c.saved = c.button->getToggleState();
    for (const auto& c : controls)
        s.*c.saved = c.slider->getValue();
}

void MonoComponent::setState (const DeckState& s)
{
    for (const auto& c : switches)
        c.button->setToggleState (s.*c.saved, juce::sendNotificationSync);
    for (const auto& c : controls)
        c.slider->setValue (s.*c.saved, juce::sendNotificationSync);
}

void MonoComponent::exclude (juce::Button& switchedOn, juce::Button& other, juce::NotificationType notification)
{
    if (switchedOn.getToggleState())
        other.setToggleState (false, notification);
    updateStage();
}

void MonoComponent::updateStage()
{
    for (const auto& c : switches)
        effects.*c.live = c.button->getToggleState();
    for (const auto& c : controls)
        effects.*c.live = (float) c.slider->getValue();
    updateDimming();
}

void MonoComponent::updateDimming()
{
    const bool on = monoButton.getToggleState();
    const auto alpha = [on] (bool modeOn) { return on && modeOn ? 1.0f : dimmed; };

    for (juce::Component* c : std::initializer_list<juce::Component*> { &xOverButton, &midSideButton })
        c->setAlpha (on ? 1.0f : dimmed);
    for (juce::Component* c :
         std::initializer_list<juce::Component*> { &xOverFreqSlider, &xOverFreqLabel, &soloHighButton, &soloLowButton })
        c->setAlpha (alpha (xOverButton.getToggleState()));
    for (juce::Component* c : std::initializer_list<juce::Component*> { &midGainSlider, &midGainLabel, &sideGainSlider,
                                                                        &sideGainLabel, &midSoloButton, &sideSoloButton })
        c->setAlpha (alpha (midSideButton.getToggleState()));
}

void MonoComponent::paint (juce::Graphics& g)
{
    g.setColour (panelMidColour);
    g.drawRoundedRectangle (getLocalBounds().toFloat().reduced (1.0f), 7.0f, 1.0f);
}

void MonoComponent::resized()
{
    // Rows of 25 pixels: the switch, the crossover with its solos, its frequency, mid/side with
    // its solos, the two gains.
    auto area = getLocalBounds().reduced (10, 5);
    constexpr int row = 25, gap = 5;
    const auto w = area.getWidth();

    monoButton.setBounds (area.removeFromTop (row).withSizeKeepingCentre (75, row));
    area.removeFromTop (gap);

    auto line = area.removeFromTop (row);
    xOverButton.setBounds (line.removeFromLeft (w / 2).reduced (2, 0));
    soloLowButton.setBounds (line.removeFromLeft (w / 4).reduced (2, 0));
    soloHighButton.setBounds (line.reduced (2, 0));
    line = area.removeFromTop (row);
    xOverFreqLabel.setBounds (line.removeFromLeft (w / 2));
    xOverFreqSlider.setBounds (line.reduced (2, 0));
    area.removeFromTop (gap);

    line = area.removeFromTop (row);
    midSideButton.setBounds (line.removeFromLeft (w / 2).reduced (2, 0));
    midSoloButton.setBounds (line.removeFromLeft (w / 4).reduced (2, 0));
    sideSoloButton.setBounds (line.reduced (2, 0));
    for (auto [label, slider] : { std::pair (&midGainLabel, &midGainSlider), std::pair (&sideGainLabel, &sideGainSlider) })
    {
        line = area.removeFromTop (row);
        label->setBounds (line.removeFromLeft (w / 2));
        slider->setBounds (line.reduced (2, 0));
    }
}

} // namespace Marlode
