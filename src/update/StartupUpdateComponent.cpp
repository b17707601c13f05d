#include "update/StartupUpdateComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

StartupUpdateComponent::StartupUpdateComponent (StoredSettings& storedSettings) : settings (storedSettings)
{
    for (auto* button : { &ignoreButton, &getButton, &dontAskButton })
    {
        addAndMakeVisible (button);
        button->addListener (this);
    }
}

void StartupUpdateComponent::checkForUpdates()
{
    startCheck();
}

void StartupUpdateComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    const auto answer = takeAnswer (source);

    if (! answer.has_value())
    {
        UpdateChecker::deleteSoon (std::move (updateChecker));
        return;
    }

    if (! answer->readable || ! answer->updateAvailable)
        return;

    message = "New Marlode version available. Version: " + answer->version;
    text.setText (message, juce::dontSendNotification);
    setVisible (true);
    toFront (false);
}

void StartupUpdateComponent::buttonClicked (juce::Button* button)
{
    if (button == &getButton)
    {
        UpdateChecker::openInBrowser (UpdateChecker::websiteUrl());
        return;
    }

    setVisible (false);

    if (button == &dontAskButton)
        settings.setBool (StoredSettings::checkForUpdates, false);
}

void StartupUpdateComponent::paint (juce::Graphics& g)
{
    g.setColour (backgroundColour);
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 7.0f);
}

void StartupUpdateComponent::resized()
{
    const auto w = juce::jmax (0, getWidth() - 10), h = juce::jmax (0, getHeight() - 10);
    text.setBounds (5, 5, juce::jmax (0, w / 2 - 5), h);

    const auto half = w / 2;
    const auto rest = juce::jmin (w - half, 100);
    const auto x = half + (rest - 90) / 2;
    ignoreButton.setBounds (x + 5, 5, 90, h);
    getButton.setBounds (x + 105, 5, 90, h);
    dontAskButton.setBounds (x + 205, 5, 90, h);
}

} // namespace Marlode
