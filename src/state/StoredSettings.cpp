#include "state/StoredSettings.h"

namespace Marlode
{

void StoredSettings::set (const juce::Identifier& key, const juce::var& value)
{
    JUCE_ASSERT_MESSAGE_THREAD
    if (values.set (key, value))
        sendSynchronousChangeMessage();
}

} // namespace Marlode
