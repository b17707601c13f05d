#pragma once

#include "update/UpdatePanel.h"

namespace Marlode
{

//==============================================================================
/**
    The answer to the menu's "Check for Updates": a box over the dimmed window that says whether
    a newer version exists, that this one is current, or that the check went wrong.
    Message thread only.
*/
class UserUpdateComponent : public UpdatePanel
{
public:
    UserUpdateComponent();

    /** Shows the box with "Checking for updates..." and starts a new check, dropping any earlier one. */
    void checkForUpdates();

    void changeListenerCallback (juce::ChangeBroadcaster* source) override;
    void buttonClicked (juce::Button*) override;
    void paint (juce::Graphics&) override;
    void resized() override;

    juce::TextButton getButton { "Get" }, cancelButton { "Cancel" }, okButton { "OK" };

private:
    [[nodiscard]] juce::Rectangle<int> boxBounds() const;
    void showButtons (bool getAndCancel, bool ok);

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (UserUpdateComponent)
};

} // namespace Marlode
