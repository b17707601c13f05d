#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

//==============================================================================
/**
    The application's user-facing messages: warnings with one "OK" button, yes/no questions,
    three-way choices and long texts in a window of their own, always asynchronous. Tests replace the presenter to read the exact texts without a window.
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
                            std::function<void (int)> chosen)>
            choice;
        std::function<void (const juce::String& title, const juce::String& text, juce::Component* centreAround)> textWindow;
    };

    /** How one kind of file list is asked for and shown. In `problem` and `listHeader`,
        "{one|many}" stands for the words that agree with the count of files. */
    struct FileListQuestion
    {
        juce::String title;         // of the question
        juce::String problem;       // follows "<n> file(s)"
        juce::String afterQuestion; // follows "Show a list of these files?"
        juce::String listTitle;
        juce::String listHeader;   // stands above the paths
        bool listInWindow = false; // a window of its own rather than a second alert
    };

    static void warning (const juce::String& title, const juce::String& message);
    static void question (const juce::String& title, const juce::String& message, std::function<void (bool yes)> answer);

    /** Three buttons; `chosen` gets the button's index, the last one's when dismissed. */
    static void choice (const juce::String& title, const juce::String& message, const juce::StringArray& buttons,
                        std::function<void (int buttonIndex)> chosen);

    /** A block of text too long for an alert, in a window centred on `centreAround` (or, when
        that is null, the screen). */
    static void textWindow (const juce::String& title, const juce::String& text, juce::Component* centreAround);

    /** Asks whether to list `paths`, and on yes lists them; a list in a window of its own is
        centred on the asker's window. Nothing happens for no paths. */
    static void askToListFiles (const FileListQuestion&, const juce::StringArray& paths, juce::Component* asker);

    /** "<n> file" or "<n> files", then `problem` agreeing with the count. */
    [[nodiscard]] static juce::String filesProblem (int count, const juce::String& problem);

    /** Picks "one" or "many" in every "{one|many}" of `pattern` by the count (one only for 1). */
    [[nodiscard]] static juce::String agreeWithCount (const juce::String& pattern, int count);

    /** The paths one a line, at most `maxListed` and each cut at `maxPathLength` characters, so
        that a hostile list of megabytes still draws. */
    [[nodiscard]] static juce::String listOfFiles (const juce::StringArray& paths);

    static constexpr int maxListed = 100, maxPathLength = 1000;

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
