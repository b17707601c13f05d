#pragma once

#include <juce_events/juce_events.h>

namespace Marlode
{

//==============================================================================
/**
    The user's settings, by the names the session file's root element gives them.
    A change notifies the listeners at once, so a toggle and the code that obeys it stay in step.
    Message thread only.
*/
class StoredSettings : public juce::ChangeBroadcaster
{
public:
    /** Whether a start asks the update service for a newer version; on when never stored. */
    static inline const juce::Identifier checkForUpdates { "check_for_updates" };
    /** Whether the welcome panel comes up at the start; on when never stored. */
    static inline const juce::Identifier showWelcome { "show_welcome" };
    /** The display scale box's chosen id (0: none), and the scale factor it stands for. */
    static inline const juce::Identifier displayScaleComboId { "display_scale_combo_id" };
    static inline const juce::Identifier displayScale { "display_scale" };

    [[nodiscard]] bool getBool (const juce::Identifier& key, bool whenMissing) const { return get (key, whenMissing); }
    [[nodiscard]] int getInt (const juce::Identifier& key, int whenMissing) const { return get (key, whenMissing); }
    [[nodiscard]] double getDouble (const juce::Identifier& key, double whenMissing) const { return get (key, whenMissing); }

    /** Stores the value; the listeners hear of it only when it changed. */
    void setBool (const juce::Identifier& key, bool value) { set (key, value); }
    void setInt (const juce::Identifier& key, int value) { set (key, value); }
    void setDouble (const juce::Identifier& key, double value) { set (key, value); }

private:
    void set (const juce::Identifier&, const juce::var&);

    template <typename Value>
    Value get (const juce::Identifier& key, Value whenMissing) const
    {
        JUCE_ASSERT_MESSAGE_THREAD
        if (const auto* value = values.getVarPointer (key))
            return static_cast<Value> (*value);
        return whenMissing;
    }

    juce::NamedValueSet values;
};

} // namespace Marlode
