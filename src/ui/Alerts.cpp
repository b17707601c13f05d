#include "ui/Alerts.h"

namespace Marlode
{

namespace
{
    Alerts::Presenter makeWindowPresenter()
    {
        Alerts::Presenter p;
        p.warning = [] (const juce::String& title, const juce::String& message)
        {
            juce::AlertWindow::showMessageBoxAsync (juce::MessageBoxIconType::WarningIcon, title, message, "OK");
        };
        p.question = [] (const juce::String& title, const juce::String& message, std::function<void (bool)> answer)
        {
            juce::AlertWindow::showOkCancelBox (juce::MessageBoxIconType::QuestionIcon, title, message, "Yes", "No", nullptr,
                                                juce::ModalCallbackFunction::create ([answer] (int result)
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
                                                   juce::ModalCallbackFunction::create ([chosen] (int result)
                                                                                        {
                                                                                            if (chosen)
                                                                                                chosen (result == 0 ? 2 : result - 1);
                                                                                        }));
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

Alerts::ScopedPresenter::ScopedPresenter (Presenter replacement) : previous (current())
{
    current() = std::move (replacement);
}

Alerts::ScopedPresenter::~ScopedPresenter()
{
    current() = std::move (previous);
}

} // namespace Marlode
