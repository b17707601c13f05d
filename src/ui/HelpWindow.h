#pragma once

#include "ui/DesktopWindowComponent.h"
#include "ui/ShortcutKeysContent.h"

namespace Marlode
{

//==============================================================================
/** The help window's content: a quick start over the table of keys. Message thread. */
class HelpDocumentWindowContent : public juce::Component
{
public:
    HelpDocumentWindowContent();

    juce::TextEditor quickStart;
    ShortcutKeysContent shortcutKeys;

    void resized() override;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (HelpDocumentWindowContent)
};

//==============================================================================
/** "Help": a tool window made at first use and kept. Message thread. */
class HelpWindow : public DesktopWindowComponent
{
public:
    HelpWindow();

    /** Shows it, scrolled to the quick start or to the keys. */
    void showSection (bool keys);

    HelpDocumentWindowContent content;

protected:
    void layoutContent() override;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (HelpWindow)
};

} // namespace Marlode
