#include "update/UserUpdateComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

UserUpdateComponent::UserUpdateComponent()
{
    text.setJustificationType (juce::Justification::topLeft);
    for (auto* button : { &getButton, &cancelButton, &okButton })
    {
        addChildComponent (button);
        button->addListener (this);
    }
}

void UserUpdateComponent::checkForUpdates()
{
    text.setText ("Checking for updates...", juce::dontSendNotification);
    showButtons (false, false);
    setVisible (true);
    toFront (false);
    startCheck();
}

void UserUpdateComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    const auto taken = takeAnswer (source);

    if (! taken.has_value())
        return;

    const auto& answer = *taken;

    if (answer.readable && answer.updateAvailable)
    {
        text.setText ("Update available. Version: " + answer.version + "\n\n" + answer.releaseNotes, juce::dontSendNotification);
        showButtons (true, false);
    }
    // The service decides what is newer; a version other than ours with nothing newer means the
    // two sides disagree, which is a problem rather than "up to date".
    else if (answer.readable && answer.version == UpdateChecker::version)
    {
        text.setText ("You're already up to date!", juce::dontSendNotification);
        showButtons (false, true);
    }
    else
    {
        text.setText ("There was a problem checking for updates.\nClick '" + getButton.getButtonText()
                          + "' to see the latest version.\nYou're currently on version: " + UpdateChecker::version,
                      juce::dontSendNotification);
        showButtons (true, false);
    }
}

void UserUpdateComponent::showButtons (bool getAndCancel, bool ok)
{
    getButton.setVisible (getAndCancel);
    cancelButton.setVisible (getAndCancel);
    okButton.setVisible (ok);
}

void UserUpdateComponent::buttonClicked (juce::Button* button)
{
    if (button == &getButton)
        UpdateChecker::openInBrowser (UpdateChecker::websiteUrl());
    else
        setVisible (false);
}

juce::Rectangle<int> UserUpdateComponent::boxBounds() const
{
    return getLocalBounds().withSizeKeepingCentre (350, 300);
}

void UserUpdateComponent::paint (juce::Graphics& g)
{
    g.fillAll (dimColour);
    const auto box = boxBounds().toFloat();
    g.setColour (backgroundColour);
    g.fillRoundedRectangle (box, 7.0f);
    g.setColour (frameDarkColour);
    g.drawRoundedRectangle (box, 7.0f, 3.0f);
}

void UserUpdateComponent::resized()
{
    const auto box = boxBounds();
    text.setBounds (box.getX() + 10, box.getY() + 10, 330, 230);
    const auto row = box.getY() + 252;
    getButton.setBounds (box.getX() + 30, row, 125, 25);
    cancelButton.setBounds (box.getX() + 195, row, 125, 25);
    okButton.setBounds (box.getX() + 92, row, 165, 25);
}

} // namespace Marlode
