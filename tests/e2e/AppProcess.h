#pragma once

#include <juce_core/juce_core.h>

#include <sys/types.h>

namespace MarlodeTest
{

struct AppLimits
{
    juce::int64 addressSpaceKB = 0; // through the shell's `ulimit -v`; 0 for none
    juce::File errorOutput;         // where stderr goes; a file beside HOME when unset
};

/** The real Marlode binary, started with its own HOME; stopped by its PID if a test leaves it.
    Its stderr goes to a file beside HOME, and once the process has ended the running test fails
    on any JUCE assertion, leaked JUCE object or sanitizer report found there. */
class AppProcess
{
public:
    AppProcess (const juce::StringArray& arguments, const juce::File& home, const AppLimits& limits = {});

    /** Runs `program` instead, for a launch wrapped in another command that ends by exec'ing Marlode. */
    AppProcess (const juce::String& program, const juce::StringArray& arguments, const juce::File& home,
                const AppLimits& limits = {});
    ~AppProcess();

    [[nodiscard]] pid_t pid() const noexcept { return processId; }

    /** Waits for the process to end; its exit status, or -1 on a timeout or a signal. */
    int waitForExit (int timeoutMs);

    [[nodiscard]] bool isRunning();

    /** The signal that ended the process once it has ended by one, else 0. */
    [[nodiscard]] int endingSignal() const;

private:
    void reap();

    juce::File errorOutput;
    pid_t processId = -1;
    int status = -1;
    bool reaped = false;
};

/** Runs a short command (xdotool and the like) and returns what it printed, trimmed. */
juce::String run (const juce::StringArray& command, int timeoutMs = 10000);

/** The first visible X window named exactly `title` (of `app`'s process when given), waiting up to
    timeoutMs; empty when none came. */
juce::String findWindow (const juce::String& title, int timeoutMs, const AppProcess* app = nullptr);

/** The Marlode main window, as findWindow. */
juce::String findMainWindow (int timeoutMs, const AppProcess* app = nullptr);

/** How many visible X windows are named exactly `title` now. */
int countWindows (const juce::String& title);

/** Clicks at a point given in the window's own coordinates. */
void clickAt (const juce::String& windowId, int x, int y);

} // namespace MarlodeTest
