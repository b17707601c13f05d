#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

// Process-wide values: written once while the application starts (message thread), read
// everywhere after that.

/** ~/.config/Marlode: the session file, the crash log and the instance socket live here. */
extern juce::File appDataDirectory;

/** appDataDirectory's "CrashLog.log". */
extern juce::File crashLogFile;

/** The main window, once made. */
extern juce::DocumentWindow* mainDocumentWindow;

/** The command lines seen at launch and handed over by later launches, for the debug window. */
extern juce::StringArray launchArguments;
extern juce::StringArray reopenArguments;

/** The data directory as it is before initialise() has run; the entry point needs it early. */
juce::File defaultAppDataDirectory();

} // namespace Marlode
