#include "ui/DesktopWindowComponent.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

juce::Array<DesktopWindowComponent*>& DesktopWindowComponent::openDesktopWindows()
{
    static juce::Array<DesktopWindowComponent*> windows;
    return windows;
}

DesktopWindowComponent::DesktopWindowComponent (const juce::String& title, juce::Rectangle<int> startBounds, juce::Button* button)
    : titleBar (*this, title), openButton (button)
{
    setWantsKeyboardFocus (true);
    titleBar.onCloseClicked = [this] { closeWindow(); };
    addAndMakeVisible (titleBar);
    setBounds (startBounds);
}

DesktopWindowComponent::~DesktopWindowComponent()
{
    openDesktopWindows().removeAllInstancesOf (this);
}

void DesktopWindowComponent::showWindow()
{
    if (getParentComponent() == nullptr && ! isOnDesktop())
    {
        addToDesktop (juce::ComponentPeer::windowIsTemporary | juce::ComponentPeer::windowHasDropShadow);
        onDesktop = true;
    }

    openDesktopWindows().addIfNotAlreadyThere (this);
    setVisible (true);
    placeOnFirstShowing();
    toFront (true);
}

void DesktopWindowComponent::closeWindow()
{
    if (isOnDesktop())
        removeFromDesktop();
    else
        setVisible (false);

    onDesktop = false;
    openDesktopWindows().removeAllInstancesOf (this);

    if (onClose != nullptr)
        onClose();
}

void DesktopWindowComponent::restoreOpenWindows()
{
    for (auto* window : openDesktopWindows())
    {
        if (auto* peer = window->getPeer())
            peer->setMinimised (false);

        window->setVisible (true);
        window->toFront (false);
    }
}

void DesktopWindowComponent::visibilityChanged()
{
    placeOnFirstShowing();
}

void DesktopWindowComponent::placeOnFirstShowing()
{
    if (wasPlaced || ! isVisible() || ! isShowing() || openButton == nullptr)
        return;

    if (auto* parent = openButton->getParentComponent())
    {
        const auto parentArea = parent->getScreenBounds();
        auto area = getBounds().withCentre (parentArea.getCentre()).withY (parentArea.getY());

        if (auto* container = getParentComponent())
            area.setPosition (container->getLocalPoint (nullptr, area.getPosition()));

        setTopLeftPosition (area.getPosition());
        wasPlaced = true;
    }
}

void DesktopWindowComponent::paint (juce::Graphics& g)
{
    g.fillAll (backgroundColour);
}

void DesktopWindowComponent::paintOverChildren (juce::Graphics& g)
{
    g.setColour (midGreyColour);

    if (isOnDesktop())
        g.drawRoundedRectangle (getLocalBounds().toFloat().reduced (1.0f), 7.0f, 3.0f);
    else
        g.drawRect (getLocalBounds(), 3);
}

void DesktopWindowComponent::resized()
{
    titleBar.setVisible (hasTitleBar);
    titleBar.setBounds (1, 1, getWidth() - 1, 24);
    contentBounds = { 3, 3, juce::jmax (getWidth() - 6, 0), juce::jmax (getHeight() - 6, 0) };

    if (hasTitleBar)
    {
        const auto top = titleBar.getBottom();
        contentBounds.setHeight (juce::jmax (0, contentBounds.getBottom() - top));
        contentBounds.setY (top);
    }

    layoutContent();
}

bool DesktopWindowComponent::keyPressed (const juce::KeyPress& key)
{
    if (key.getKeyCode() == juce::KeyPress::escapeKey && ! key.getModifiers().isAnyModifierKeyDown())
    {
        closeWindow();
        return true;
    }

    return false;
}

} // namespace Marlode
