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

    [[nodiscard]] bool getBool (const juce::Identifier& key, bool whenMissing) const;

    /** Stores the value; the listeners hear of it only when it changed. */
    void setBool (const juce::Identifier& key, bool value);

private:
    juce::NamedValueSet values;
};

} // namespace Marlode
