#pragma once

#include "update/UpdateChecker.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <optional>

namespace Marlode
{

//==============================================================================
/**
    What the two update panels share: their text, their one check at a time and the taking of
    its answer. Message thread only.
*/
class UpdatePanel : public juce::Component,
                    public juce::ChangeListener,
                    public juce::Button::Listener
{
public:
    /** A check under way is cancelled, so closing never waits for the service. */
    ~UpdatePanel() override;

    juce::Label text;
    std::unique_ptr<UpdateChecker> updateChecker;

protected:
    UpdatePanel();

    /** A new check with this panel as its listener, replacing any earlier one. */
    void startCheck();

    /** The answer when the source is this panel's own checker, which then goes; else nothing. */
    std::optional<UpdateChecker::Answer> takeAnswer (juce::ChangeBroadcaster* source);

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (UpdatePanel)
};

} // namespace Marlode
