#pragma once

#include <juce_core/juce_core.h>

#include <cstdint>

namespace Marlode
{

/**
    Writes the crashing thread's stack to crashLogFile, then lets the signal end the process as it
    would have without a handler. Installed for SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGABRT and SIGSYS.

    A crash can come while another thread holds the heap's or stdio's lock, so everything the
    handler needs is made by install(): the log's file descriptor, the local time offset, an
    alternate signal stack (a stack overflow still gets its log) and the unwinder's library.
    Inside the signal it allocates nothing and uses no stdio or JUCE: backtrace,
    backtrace_symbols_fd, write(2) and read(2) on a pipe, time(), sigaction and raise.

    The alternate stack belongs to the thread that calls install() (the message thread); an
    overflow on another thread ends the process without a log.
*/
class CrashHandler
{
public:
    /** Message thread, once, after crashLogFile is set. */
    static void install();

    /** The longest text formatTime() writes, in bytes. */
    static constexpr int maxTimeTextBytes = 32;

    /** Writes the time given as seconds since 1970 on the local clock in FileLogger's form
        ("23 Nov 2026 5:12:07pm") and returns its length. Safe inside a signal handler. */
    static int formatTime (std::int64_t localSeconds, char (&text)[maxTimeTextBytes]) noexcept;
};

} // namespace Marlode
