#include "app/CrashHandler.h"
#include "app/AppGlobals.h"

#include <execinfo.h>
#include <signal.h>
#include <unistd.h>

namespace Marlode
{

void CrashHandler::install()
{
    juce::SystemStats::setApplicationCrashHandler (&CrashHandler::handle);
}

void CrashHandler::handle (void*)
{
    void* frames[128];
    const auto count = backtrace (frames, 128);
    juce::String trace;

    if (auto** symbols = backtrace_symbols (frames, count))
    {
        for (int i = 0; i < count; ++i)
            trace << symbols[i] << "\r\n";

        free (symbols);
    }

    {
        juce::FileLogger logger (crashLogFile, "Crash stack back trace:", 0);
        logger.logMessage (trace);
    }

    kill (getpid(), SIGKILL);
}

} // namespace Marlode
