#include "ui/PopupDisplayComponent.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

PopupDisplayComponent::PopupDisplayComponent (int width, int height, PopupDisplayComponent*& slot)
    : boxWidth (width), boxHeight (height), activePopup (slot)
{
    setWantsKeyboardFocus (true);
    setVisible (false);

    closeButton.onClick = [this]
    {
        setVisible (false);
        activePopup = nullptr;

        if (onClose)
            onClose();
    };
    addAndMakeVisible (closeButton);
}

PopupDisplayComponent::~PopupDisplayComponent()
{
    if (activePopup == this)
        activePopup = nullptr;
}

void PopupDisplayComponent::show()
{
    if (activePopup != nullptr && activePopup != this && activePopup->closeButton.onClick)
        activePopup->closeButton.onClick();

    activePopup = this;

    if (auto* parent = getParentComponent())
        setBounds (parent->getLocalBounds());

    setVisible (true);
    toFront (true);

    if (isShowing())
        grabKeyboardFocus();
}

void PopupDisplayComponent::setTitle (const juce::String& newTitle)
{
    title = newTitle;
    repaint();
}

void PopupDisplayComponent::paint (juce::Graphics& g)
{
    g.fillAll (dimColour);

    g.setColour (backgroundColour);
    g.fillRoundedRectangle (boxBounds.toFloat(), cornerSize);
    g.setColour (midGreyColour);
    g.drawRoundedRectangle (boxBounds.toFloat(), cornerSize, cornerSize);

    g.setColour (textColour);
    g.setFont ((float) titleHeight - cornerSize);
    g.drawText (title, boxBounds.withHeight (titleHeight), juce::Justification::centred, true);
}

void PopupDisplayComponent::resized()
{
    boxBounds = getLocalBounds().withSizeKeepingCentre (boxWidth, boxHeight);
    const auto inset = (int) cornerSize;
    closeButton.setBounds (boxBounds.getRight() - closeButtonSize - inset, boxBounds.getY() + inset, closeButtonSize,
                           closeButtonSize);
    contentBounds = boxBounds.withTrimmedTop (titleHeight);
}

bool PopupDisplayComponent::keyPressed (const juce::KeyPress& key)
{
    if (key.getKeyCode() == juce::KeyPress::escapeKey && ! key.getModifiers().isAnyModifierKeyDown())
    {
        if (closeButton.onClick)
            closeButton.onClick();
        return true;
    }

    return false;
}

} // namespace Marlode
