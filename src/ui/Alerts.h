#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

//==============================================================================
/**
    The application's user-facing messages: warnings with one "OK" button, yes/no questions and
    three-way choices,
    always asynchronous. Tests replace the presenter to read the exact texts without a window.
    Message thread only.
*/
class Alerts
{
public:
    struct Presenter
    {
        std::function<void (const juce::String& title, const juce::String& message)> warning;
        std::function<void (const juce::String& title, const juce::String& message, std::function<void (bool)> answer)> question;
        std::function<void (const juce::String& title, const juce::String& message, const juce::StringArray& buttons,
                            std::function<void (int)> chosen)> choice;
    };

    static void warning (const juce::String& title, const juce::String& message);
    static void question (const juce::String& title, const juce::String& message, std::function<void (bool yes)> answer);

    /** Three buttons; `chosen` gets the button's index, the last one's when dismissed. */
    static void choice (const juce::String& title, const juce::String& message, const juce::StringArray& buttons,
                        std::function<void (int buttonIndex)> chosen);

    /** Replaces the presenter until the returned object is destroyed. */
    class ScopedPresenter
    {
    public:
        explicit ScopedPresenter (Presenter replacement);
        ~ScopedPresenter();

    private:
        Presenter previous;
        JUCE_DECLARE_NON_COPYABLE (ScopedPresenter)
    };

private:
    static Presenter& current();
};

} // namespace Marlode
