#include "ui/Alerts.h"
#include "ui/PopupTextWindow.h"

namespace Marlode
{

namespace
{
    Alerts::Presenter makeWindowPresenter()
    {
        Alerts::Presenter p;
        p.warning = [] (const juce::String& title, const juce::String& message)
        { juce::AlertWindow::showMessageBoxAsync (juce::MessageBoxIconType::WarningIcon, title, message, "OK"); };
        p.question = [] (const juce::String& title, const juce::String& message, std::function<void (bool)> answer)
        {
            juce::AlertWindow::showOkCancelBox (juce::MessageBoxIconType::QuestionIcon, title, message, "Yes", "No", nullptr,
                                                juce::ModalCallbackFunction::create (
                                                    [answer] (int result)
                                                    {
                                                        if (answer)
                                                            answer (result != 0);
                                                    }));
        };
        p.choice = [] (const juce::String& title, const juce::String& message, const juce::StringArray& buttons,
                       std::function<void (int)> chosen)
        {
            jassert (buttons.size() == 3);

            // The framework numbers the buttons 1, 2 and 0 for the last (also Escape).
            juce::AlertWindow::showYesNoCancelBox (juce::MessageBoxIconType::QuestionIcon, title, message, buttons[0], buttons[1],
                                                   buttons[2], nullptr,
                                                   juce::ModalCallbackFunction::create (
                                                       [chosen] (int result)
                                                       {
                                                           if (chosen)
                                                               chosen (result == 0 ? 2 : result - 1);
                                                       }));
        };
        p.textWindow = [] (const juce::String& title, const juce::String& text, juce::Component* centreAround)
        {
            // The window deletes itself when closed.
            new PopupTextWindow (title, text, centreAround);
        };
        return p;
    }
}

Alerts::Presenter& Alerts::current()
{
    static Presenter presenter = makeWindowPresenter();
    return presenter;
}

void Alerts::warning (const juce::String& title, const juce::String& message)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (current().warning)
        current().warning (title, message);
}

void Alerts::question (const juce::String& title, const juce::String& message, std::function<void (bool)> answer)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (current().question)
        current().question (title, message, std::move (answer));
}

void Alerts::choice (const juce::String& title, const juce::String& message, const juce::StringArray& buttons,
                     std::function<void (int)> chosen)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (current().choice)
        current().choice (title, message, buttons, std::move (chosen));
}

void Alerts::textWindow (const juce::String& title, const juce::String& text, juce::Component* centreAround)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (current().textWindow)
        current().textWindow (title, text, centreAround);
}

juce::String Alerts::agreeWithCount (const juce::String& pattern, int count)
{
    juce::String text;
    auto rest = pattern;

    for (auto open = rest.indexOfChar ('{'); open >= 0; open = rest.indexOfChar ('{'))
    {
        const auto bar = rest.indexOfChar (open, '|');
        const auto close = rest.indexOfChar (open, '}');

        if (bar < 0 || close < bar)
            break;

        text << rest.substring (0, open) << (count == 1 ? rest.substring (open + 1, bar) : rest.substring (bar + 1, close));
        rest = rest.substring (close + 1);
    }

    return text + rest;
}

juce::String Alerts::filesProblem (int count, const juce::String& problem)
{
    return juce::String (count) + agreeWithCount ("{ file| files}" + problem, count);
}

juce::String Alerts::listOfFiles (const juce::StringArray& paths)
{
    juce::String text;

    for (int i = 0; i < juce::jmin (paths.size(), maxListed); ++i)
        text << (paths[i].length() > maxPathLength ? paths[i].substring (0, maxPathLength) + "..." : paths[i]) << "\r\n";

    if (paths.size() > maxListed)
        text << "and " << (paths.size() - maxListed) << " more\r\n";

    return text;
}

void Alerts::askToListFiles (const FileListQuestion& words, const juce::StringArray& paths, juce::Component* asker)
{
    if (paths.isEmpty())
        return;

    const auto n = paths.size();
    const auto message = filesProblem (n, words.problem) + "\n\nShow a list of these files?" + words.afterQuestion;

    // The answer comes later: the asker may be gone by then.
    question (words.title, message,
              [words, paths, n, asker = juce::Component::SafePointer<juce::Component> (asker)] (bool yes)
              {
                  if (! yes)
                      return;

                  const auto list = agreeWithCount (words.listHeader, n) + listOfFiles (paths);

                  if (words.listInWindow)
                      textWindow (words.listTitle, list, asker != nullptr ? asker->getTopLevelComponent() : nullptr);
                  else
                      warning (words.listTitle, list);
              });
}

Alerts::ScopedPresenter::ScopedPresenter (Presenter replacement) : previous (current())
{
    current() = std::move (replacement);
}

Alerts::ScopedPresenter::~ScopedPresenter()
{
    current() = std::move (previous);
}

} // namespace Marlode
