#include "dsp/panels/EQWindow.h"

namespace Marlode
{

EQWindow::EQWindow (EQComponent& e, juce::Button* opener)
    : DesktopWindowComponent ("Output EQ", { 0, 0, 900, 460 }, opener), editor (e)
{
    addAndMakeVisible (editor);
    layoutContent();
}

void EQWindow::layoutContent()
{
    editor.setBounds (getContentBounds());
}

} // namespace Marlode
