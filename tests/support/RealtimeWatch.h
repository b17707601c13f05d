#pragma once

namespace MarlodeTest
{

/** Counts heap allocations and mutex locks made by the current thread while it is watched.
    The counting is done by replacing malloc and friends, operator new and pthread_mutex_lock
    in the test binary, so it sees the libraries' calls too (JUCE, Rubber Band, libstdc++).
    Spin locks made of atomics are not seen. */
struct RealtimeWatch
{
    static void begin() noexcept;
    static void end() noexcept;
    static void reset() noexcept;
    static long allocations() noexcept;
    static long locks() noexcept;

    struct Scope
    {
        Scope() noexcept { begin(); }
        ~Scope() noexcept { end(); }
    };
};

} // namespace MarlodeTest
