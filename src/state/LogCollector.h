#pragma once

#include <juce_core/juce_core.h>

#include <deque>
#include <mutex>

namespace Marlode
{

//==============================================================================
/**
    The application's logger: every line goes on to the standard error as the framework's own
    logger writes it, and the last `capacity` lines are kept for the debug window. Any thread
    may log; the lines are read on the message thread.
*/
class LogCollector : public juce::Logger
{
public:
    explicit LogCollector (size_t capacity = 2000) : maxLines (capacity) {}

    void logMessage (const juce::String&) override;

    /** The kept lines, oldest first, joined by "\r\n". */
    [[nodiscard]] juce::String getText() const;

private:
    const size_t maxLines;
    // Logging threads write, the message thread reads.
    mutable std::mutex lock;
    std::deque<juce::String> lines;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LogCollector)
};

} // namespace Marlode
