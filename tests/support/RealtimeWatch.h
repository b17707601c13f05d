#pragma once

#include <string>

namespace MarlodeTest
{

/** Counts the calls a real-time thread must not make, made by the current thread while it is
    watched: heap allocations, locks, waits on semaphores and conditions, sleeps and yields, and
    file or socket system calls.

    Locks, waits, sleeps and I/O are counted by wrappers in the test binary that forward to the
    next definition (the sanitizer's interceptor when there is one, else the C library), so they
    see the libraries' calls too (JUCE, Rubber Band, libstdc++). Allocations are counted by
    replacing malloc and operator new in the normal build, and through the sanitizer's own
    allocation hooks in an ASan or TSan build, whose runtime owns malloc.
    Not seen: spin locks made of atomics, raw `syscall()`, and calls the C library makes to
    itself (fopen's open; fopen, fread, fwrite and fclose are counted at the entry). */
struct RealtimeWatch
{
    enum class Kind
    {
        allocation,
        lock,  // mutexes, read-write locks, spin locks
        wait,  // semaphores and condition variables
        sleep, // sleeps and yields
        io     // files, sockets, polling
    };

    static void begin() noexcept;
    static void end() noexcept;
    static void reset() noexcept;

    [[nodiscard]] static long count (Kind) noexcept;
    [[nodiscard]] static long allocations() noexcept { return count (Kind::allocation); }
    [[nodiscard]] static long locks() noexcept { return count (Kind::lock); }

    /** Calls of one watched function by name ("sem_wait"), or -1 for a name that isn't watched. */
    [[nodiscard]] static long calls (const char* function) noexcept;

    /** "name count" of every watched function called since the reset; allocates, so never call
        it on the watched thread. */
    [[nodiscard]] static std::string report();

    struct Scope
    {
        Scope() noexcept { begin(); }
        ~Scope() noexcept { end(); }
    };
};

} // namespace MarlodeTest
