#include "app/AppGlobals.h"

namespace Marlode
{

juce::File appDataDirectory;
juce::File crashLogFile;
juce::DocumentWindow* mainDocumentWindow = nullptr;
juce::StringArray launchArguments;
juce::StringArray reopenArguments;

juce::File defaultAppDataDirectory()
{
    return juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory).getChildFile ("Marlode");
}

} // namespace Marlode
