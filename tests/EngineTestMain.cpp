#include <gtest/gtest.h>

#include <juce_events/juce_events.h>

// The engine's tests: the engine library alone, no window system. A message manager is made for
// the transport's change messages and timers; the tests pump it themselves.
int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);
    juce::MessageManager::getInstance();
    const auto result = RUN_ALL_TESTS();
    juce::DeletedAtShutdown::deleteAll();
    juce::MessageManager::deleteInstance();
    return result;
}
