#include "support/WaitFor.h"

#include <juce_core/juce_core.h>

namespace MarlodeTest
{

bool waitFor (const std::function<bool()>& condition, int timeoutMs, const std::function<void()>& between)
{
    const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) timeoutMs;

    while (! condition())
    {
        if (juce::Time::getMillisecondCounter() > end)
            return false;

        if (between)
            between();
        else
            juce::Thread::sleep (10);
    }

    return true;
}

} // namespace MarlodeTest
