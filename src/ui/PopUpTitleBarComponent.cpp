#include "ui/PopUpTitleBarComponent.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode::TitleBar
{

PopUpTitleBarComponent::PopUpTitleBarComponent (juce::Component& windowToDrag, const juce::String& titleText)
    : window (windowToDrag), title (titleText)
{
    closeButton.onClick = [this]
    {
        if (onCloseClicked)
            onCloseClicked();
    };
    addAndMakeVisible (closeButton);
}

void PopUpTitleBarComponent::paint (juce::Graphics& g)
{
    if (isActive)
        g.fillAll (backgroundColour);

    g.setColour (textColour);
    g.setFont ((float) getHeight() * 0.6f);
    g.drawText (title, getLocalBounds().reduced (2 * getHeight(), 0), juce::Justification::centred, true);
}

void PopUpTitleBarComponent::resized()
{
    const auto h = getHeight();
    closeButton.setBounds (getWidth() - 2 * h, 0, 2 * h, h);
}

void PopUpTitleBarComponent::mouseDown (const juce::MouseEvent& e)
{
    dragger.startDraggingComponent (&window, e.getEventRelativeTo (&window));
}

void PopUpTitleBarComponent::mouseDrag (const juce::MouseEvent& e)
{
    dragger.dragComponent (&window, e.getEventRelativeTo (&window), nullptr);
}

void PopUpTitleBarComponent::setActive (bool shouldBeActive)
{
    if (isActive != shouldBeActive)
    {
        isActive = shouldBeActive;
        repaint();
    }
}

} // namespace Marlode::TitleBar
