#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

/** Writes the crashing thread's stack to crashLogFile and kills the process. Installed for
    SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGABRT and SIGSYS. */
class CrashHandler
{
public:
    static void install();

    /** The handler itself; `signalNumber` is what the framework passes on. */
    static void handle (void* signalNumber);
};

} // namespace Marlode
