#pragma once

#include "ui/DesktopWindowComponent.h"

#include <functional>

namespace Marlode
{

//==============================================================================
/** The debug window's content: the collected log lines and "Save text to file...". */
class DebugWindowContent : public juce::Component
{
public:
    explicit DebugWindowContent (const juce::String& linesToShow);

    /** Asks for a .txt file from the desktop folder and writes the lines there, with an alert
        for each outcome: saved, cancelled, or failed. */
    void saveToFile();

    /** How the file is chosen: the save dialog unless a test puts another way in. */
    std::function<void (std::function<void (const juce::File&)> chosen)> chooseFile;

    /** Writes the text to `file` and says how it went; an empty file means cancelled. */
    void saveTo (const juce::File& file);

    juce::TextEditor text;
    juce::TextButton saveButton { "Save text to file..." };

    void resized() override;

private:
    // As collected, lines joined by "\r\n"; the editor shows them with its own line ends.
    const juce::String lines;
    std::unique_ptr<juce::FileChooser> chooser;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DebugWindowContent)
};

//==============================================================================
/** "Debug Window": the log lines as they stood when it was opened. Message thread. */
class DebugDocumentWindow : public DesktopWindowComponent
{
public:
    explicit DebugDocumentWindow (const juce::String& lines);

    DebugWindowContent content;

protected:
    void layoutContent() override;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (DebugDocumentWindow)
};

} // namespace Marlode
