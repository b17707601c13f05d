#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdlib>

// What a test needs from the test run's environment (scripts/with-test-env.sh): without it the
// test is skipped, not failed.
#define MARLODE_REQUIRE_JACK()                          \
    if (std::getenv ("JACK_DEFAULT_SERVER") == nullptr) \
    GTEST_SKIP() << "needs the test run's JACK server (scripts/with-test-env.sh)"

#define MARLODE_REQUIRE_DISPLAY()                                                  \
    if (juce::Desktop::getInstance().getDisplays().getPrimaryDisplay() == nullptr) \
    GTEST_SKIP() << "needs the test run's Xvfb"

namespace MarlodeTest
{

/** A press of the main mouse source at `position` in `component`, as the window would deliver it. */
inline juce::MouseEvent mouseAt (juce::Component& component, juce::Point<float> position, juce::ModifierKeys modifiers = {})
{
    return juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), position, modifiers, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f,
                             &component, &component, juce::Time(), position, juce::Time(), 1, false);
}

/** Runs xdotool with these arguments: real pointer and key events through the X server. */
inline bool xdotool (const juce::StringArray& args)
{
    juce::StringArray command { "xdotool" };
    command.addArray (args);
    juce::ChildProcess process;
    return process.start (command, 0) && process.waitForProcessToFinish (5000) && process.getExitCode() == 0;
}

} // namespace MarlodeTest
