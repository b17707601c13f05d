#include <gtest/gtest.h>

#include <juce_gui_basics/juce_gui_basics.h>

#include <dlfcn.h>

int main (int argc, char** argv)
{
    // The framework treats the process as a standalone application (its own X error handler,
    // XInitThreads) only when an application factory is set; without one the first window
    // under a bare Xvfb kills the test binary.
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    // JUCE opens the X libraries with dlopen and closes them at shutdown. Kept mapped, they can
    // still be named when LeakSanitizer reports at exit, so that Xlib's own caches can be told
    // apart from ours (tests/sanitizers/lsan.supp).
    for (const auto* library :
         { "libX11.so.6", "libXext.so.6", "libXcursor.so.1", "libXinerama.so.1", "libXrender.so.1", "libXrandr.so.2" })
        dlopen (library, RTLD_NOW | RTLD_NODELETE);

    ::testing::InitGoogleTest (&argc, argv);
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
