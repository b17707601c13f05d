#include "state/LogCollector.h"

#include <iostream>

namespace Marlode
{

void LogCollector::logMessage (const juce::String& message)
{
    std::cerr << message << std::endl;

    const std::scoped_lock guard (lock);
    lines.push_back (message);
    while (lines.size() > maxLines)
        lines.pop_front();
}

juce::String LogCollector::getText() const
{
    const std::scoped_lock guard (lock);
    juce::StringArray all;
    for (const auto& line : lines)
        all.add (line);
    return all.joinIntoString ("\r\n");
}

} // namespace Marlode
