#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/** The table of keys, read-only, in two columns: what it does, and the key. Message thread. */
class ShortcutKeysContent : public juce::TextEditor
{
public:
    ShortcutKeysContent();

    /** The table as "Description: Key" lines, its heading first. */
    [[nodiscard]] static juce::StringArray lines();

    /** One line split at its last ": " into what and key; a line without one is all what. */
    [[nodiscard]] static std::pair<juce::String, juce::String> columns (const juce::String& line);

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ShortcutKeysContent)
};

} // namespace Marlode
