#pragma once

#include "dsp/panels/EQComponent.h"
#include "ui/DesktopWindowComponent.h"

namespace Marlode
{

//==============================================================================
/** The master's "Output EQ" tool window around the master equaliser's editor. Message thread. */
class EQWindow : public DesktopWindowComponent
{
public:
    /** The editor is the master's, which outlives this window. */
    EQWindow (EQComponent& editor, juce::Button* openButton);

protected:
    void layoutContent() override;

private:
    EQComponent& editor;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQWindow)
};

} // namespace Marlode
