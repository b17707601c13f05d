#include "state/StoredSettings.h"

namespace Marlode
{

bool StoredSettings::getBool (const juce::Identifier& key, bool whenMissing) const
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (const auto* value = values.getVarPointer (key))
        return static_cast<bool> (*value);
    return whenMissing;
}

void StoredSettings::setBool (const juce::Identifier& key, bool value)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (values.set (key, value))
        sendSynchronousChangeMessage();
}

} // namespace Marlode
