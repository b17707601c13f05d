#include "ui/PopupTextWindow.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

PopupTextWindow::PopupTextWindowContent::PopupTextWindowContent (const juce::String& text)
{
    textBox.setMultiLine (true, true);
    textBox.setReadOnly (true);
    textBox.setScrollbarsShown (true);
    textBox.setCaretVisible (false);
    textBox.setText (text, false);
    addAndMakeVisible (textBox);
    setSize (defaultSize, defaultSize);
}

void PopupTextWindow::PopupTextWindowContent::resized()
{
    textBox.setBounds (getLocalBounds());
}

PopupTextWindow::PopupTextWindow (const juce::String& title, const juce::String& text, juce::Component* centreAround)
    : juce::DocumentWindow (title, backgroundColour, juce::DocumentWindow::closeButton)
{
    setColour (juce::DocumentWindow::textColourId, juce::Colours::white);
    setUsingNativeTitleBar (false);
    setContentOwned (new PopupTextWindowContent (text), true);
    setResizable (true, false);

    if (centreAround != nullptr)
        centreAroundComponent (centreAround, getWidth(), getHeight());
    else
        centreWithSize (getWidth(), getHeight());

    setVisible (true);
}

void PopupTextWindow::closeButtonPressed()
{
    // Not from inside its own callback: the window goes once the click has finished.
    juce::MessageManager::callAsync ([safe = juce::Component::SafePointer<PopupTextWindow> (this)]
                                     { delete safe.getComponent(); });
}

} // namespace Marlode
