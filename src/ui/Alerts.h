#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

//==============================================================================
/**
    The application's user-facing messages: warnings with one "OK" button and yes/no questions,
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
    };

    static void warning (const juce::String& title, const juce::String& message);
    static void question (const juce::String& title, const juce::String& message, std::function<void (bool yes)> answer);

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
