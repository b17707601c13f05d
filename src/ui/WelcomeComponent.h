#pragma once

#include "state/StoredSettings.h"
#include "ui/PopupDisplayComponent.h"

namespace Marlode
{

//==============================================================================
/**
    The welcome shown at the start while "show_welcome" holds: a thank-you, how to begin, and
    "Don't show again", which stores "show_welcome" false. Message thread.
*/
class WelcomeComponent : public PopupDisplayComponent
{
public:
    WelcomeComponent (StoredSettings&, PopupDisplayComponent*& activePopup);

    /** Shows it when the stored settings want it. */
    void showIfWanted();

    juce::Label header;
    juce::TextEditor text;
    juce::ToggleButton dontShowAgain { "Don't show again" };
    juce::TextButton closeWelcome { "Let's start" };

    void resized() override;

private:
    StoredSettings& settings;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WelcomeComponent)
};

} // namespace Marlode
