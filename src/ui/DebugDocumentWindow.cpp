#include "ui/DebugDocumentWindow.h"
#include "state/AtomicFile.h"
#include "ui/Alerts.h"

namespace Marlode
{

DebugWindowContent::DebugWindowContent (const juce::String& linesToShow) : lines (linesToShow)
{
    text.setMultiLine (true);
    text.setReadOnly (true);
    text.setText (lines, false);
    saveButton.onClick = [this] { saveToFile(); };

    chooseFile = [this] (std::function<void (const juce::File&)> chosen)
    {
        chooser = std::make_unique<juce::FileChooser> (
            "Save text to file...", juce::File::getSpecialLocation (juce::File::userDesktopDirectory), "*.txt");
        chooser->launchAsync (juce::FileBrowserComponent::saveMode | juce::FileBrowserComponent::canSelectFiles
                                  | juce::FileBrowserComponent::warnAboutOverwriting,
                              [chosen] (const juce::FileChooser& fc) { chosen (fc.getResult()); });
    };

    addAndMakeVisible (text);
    addAndMakeVisible (saveButton);
}

void DebugWindowContent::saveToFile()
{
    juce::Component::SafePointer<DebugWindowContent> safe (this);
    chooseFile (
        [safe] (const juce::File& file)
        {
            if (safe != nullptr)
                safe->saveTo (file);
        });
}

void DebugWindowContent::saveTo (const juce::File& file)
{
    if (file == juce::File())
        Alerts::warning ("Cancelled", "File saving was cancelled.");
    else if (! AtomicFile::replaceWithData (file, lines.toRawUTF8(), lines.getNumBytesAsUTF8()))
        Alerts::warning ("Error", "Failed to create or write to the file.");
    else
        Alerts::warning ("Success", "File saved successfully to:\n" + file.getFullPathName());
}

void DebugWindowContent::resized()
{
    auto area = getLocalBounds().reduced (6);
    saveButton.setBounds (area.removeFromBottom (30).withSizeKeepingCentre (180, 28));
    area.removeFromBottom (6);
    text.setBounds (area);
}

DebugDocumentWindow::DebugDocumentWindow (const juce::String& lines)
    : DesktopWindowComponent ("Debug Window", { 0, 0, 700, 500 }, nullptr), content (lines)
{
    addAndMakeVisible (content);
}

void DebugDocumentWindow::layoutContent()
{
    content.setBounds (getContentBounds());
}

} // namespace Marlode
