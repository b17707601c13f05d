#include <gtest/gtest.h>

#include <juce_gui_basics/juce_gui_basics.h>

int main (int argc, char** argv)
{
    // The framework treats the process as a standalone application (its own X error handler,
    // XInitThreads) only when an application factory is set; without one the first window
    // under a bare Xvfb kills the test binary.
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    ::testing::InitGoogleTest (&argc, argv);
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
