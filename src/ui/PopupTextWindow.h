#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** A window of its own that shows a block of text, centred on the main window (or the screen).
    It deletes itself when closed: make it with `new` and let it go. Message thread. */
class PopupTextWindow : public juce::DocumentWindow
{
public:
    PopupTextWindow (const juce::String& title, const juce::String& text, juce::Component* centreAround);

    void closeButtonPressed() override;

    class PopupTextWindowContent : public juce::Component
    {
    public:
        explicit PopupTextWindowContent (const juce::String& text);
        void resized() override;

        juce::TextEditor textBox;
    };

    static constexpr int defaultSize = 500;
};

} // namespace Marlode
