#include "support/RealtimeWatch.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MARLODE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MARLODE_SANITIZED 1
#endif
#endif
#ifndef MARLODE_SANITIZED
#define MARLODE_SANITIZED 0
#endif

// Every watched function but the allocators and the open family, which take a variable argument:
// kind, return type, name, parameters, arguments.
#define MARLODE_FORWARDED_CALLS(X)                                                                                         \
    X (lock, int, pthread_mutex_lock, (pthread_mutex_t * m), (m))                                                          \
    X (lock, int, pthread_mutex_trylock, (pthread_mutex_t * m), (m))                                                       \
    X (lock, int, pthread_mutex_timedlock, (pthread_mutex_t * m, const timespec* t), (m, t))                               \
    X (lock, int, pthread_rwlock_rdlock, (pthread_rwlock_t * l), (l))                                                      \
    X (lock, int, pthread_rwlock_tryrdlock, (pthread_rwlock_t * l), (l))                                                   \
    X (lock, int, pthread_rwlock_timedrdlock, (pthread_rwlock_t * l, const timespec* t), (l, t))                           \
    X (lock, int, pthread_rwlock_wrlock, (pthread_rwlock_t * l), (l))                                                      \
    X (lock, int, pthread_rwlock_trywrlock, (pthread_rwlock_t * l), (l))                                                   \
    X (lock, int, pthread_rwlock_timedwrlock, (pthread_rwlock_t * l, const timespec* t), (l, t))                           \
    X (lock, int, pthread_spin_lock, (pthread_spinlock_t * l), (l))                                                        \
    X (wait, int, sem_wait, (sem_t * s), (s))                                                                              \
    X (wait, int, sem_timedwait, (sem_t * s, const timespec* t), (s, t))                                                   \
    X (wait, int, sem_clockwait, (sem_t * s, clockid_t c, const timespec* t), (s, c, t))                                   \
    X (wait, int, pthread_cond_wait, (pthread_cond_t * c, pthread_mutex_t * m), (c, m))                                    \
    X (wait, int, pthread_cond_timedwait, (pthread_cond_t * c, pthread_mutex_t * m, const timespec* t), (c, m, t))         \
    X (wait, int, pthread_cond_clockwait, (pthread_cond_t * c, pthread_mutex_t * m, clockid_t k, const timespec* t),       \
       (c, m, k, t))                                                                                                       \
    X (sleep, int, nanosleep, (const timespec* t, timespec* rest), (t, rest))                                              \
    X (sleep, int, clock_nanosleep, (clockid_t c, int f, const timespec* t, timespec* rest), (c, f, t, rest))              \
    X (sleep, int, usleep, (useconds_t u), (u))                                                                            \
    X (sleep, unsigned, sleep, (unsigned s), (s))                                                                          \
    X (sleep, int, sched_yield, (), ())                                                                                    \
    X (io, int, creat, (const char* p, mode_t m), (p, m))                                                                  \
    X (io, ssize_t, read, (int fd, void* b, size_t n), (fd, b, n))                                                         \
    X (io, ssize_t, write, (int fd, const void* b, size_t n), (fd, b, n))                                                  \
    X (io, ssize_t, pread, (int fd, void* b, size_t n, off_t o), (fd, b, n, o))                                            \
    X (io, ssize_t, pwrite, (int fd, const void* b, size_t n, off_t o), (fd, b, n, o))                                     \
    X (io, ssize_t, pread64, (int fd, void* b, size_t n, off64_t o), (fd, b, n, o))                                        \
    X (io, ssize_t, pwrite64, (int fd, const void* b, size_t n, off64_t o), (fd, b, n, o))                                 \
    X (io, ssize_t, readv, (int fd, const iovec* v, int n), (fd, v, n))                                                    \
    X (io, ssize_t, writev, (int fd, const iovec* v, int n), (fd, v, n))                                                   \
    X (io, off_t, lseek, (int fd, off_t o, int w), (fd, o, w))                                                             \
    X (io, off64_t, lseek64, (int fd, off64_t o, int w), (fd, o, w))                                                       \
    X (io, int, close, (int fd), (fd))                                                                                     \
    X (io, int, fsync, (int fd), (fd))                                                                                     \
    X (io, int, fdatasync, (int fd), (fd))                                                                                 \
    X (io, int, ftruncate, (int fd, off_t n), (fd, n))                                                                     \
    X (io, int, stat, (const char* p, struct stat* s), (p, s))                                                             \
    X (io, int, stat64, (const char* p, struct stat64* s), (p, s))                                                         \
    X (io, int, lstat, (const char* p, struct stat* s), (p, s))                                                            \
    X (io, int, lstat64, (const char* p, struct stat64* s), (p, s))                                                        \
    X (io, int, fstat, (int fd, struct stat* s), (fd, s))                                                                  \
    X (io, int, fstat64, (int fd, struct stat64* s), (fd, s))                                                              \
    X (io, int, access, (const char* p, int m), (p, m))                                                                    \
    X (io, int, unlink, (const char* p), (p))                                                                              \
    X (io, int, rename, (const char* a, const char* b), (a, b))                                                            \
    X (io, int, mkdir, (const char* p, mode_t m), (p, m))                                                                  \
    X (io, FILE*, fopen, (const char* p, const char* m), (p, m))                                                           \
    X (io, FILE*, fopen64, (const char* p, const char* m), (p, m))                                                         \
    X (io, int, fclose, (FILE * f), (f))                                                                                   \
    X (io, size_t, fread, (void* b, size_t s, size_t n, FILE* f), (b, s, n, f))                                            \
    X (io, size_t, fwrite, (const void* b, size_t s, size_t n, FILE* f), (b, s, n, f))                                     \
    X (io, int, fflush, (FILE * f), (f))                                                                                   \
    X (io, int, fputs, (const char* s, FILE* f), (s, f))                                                                   \
    X (io, int, socket, (int d, int t, int p), (d, t, p))                                                                  \
    X (io, int, socketpair, (int d, int t, int p, int* fds), (d, t, p, fds))                                               \
    X (io, int, connect, (int fd, const sockaddr* a, socklen_t n), (fd, a, n))                                             \
    X (io, int, bind, (int fd, const sockaddr* a, socklen_t n), (fd, a, n))                                                \
    X (io, int, listen, (int fd, int n), (fd, n))                                                                          \
    X (io, int, accept, (int fd, sockaddr* a, socklen_t* n), (fd, a, n))                                                   \
    X (io, int, accept4, (int fd, sockaddr* a, socklen_t* n, int f), (fd, a, n, f))                                        \
    X (io, int, shutdown, (int fd, int how), (fd, how))                                                                    \
    X (io, ssize_t, send, (int fd, const void* b, size_t n, int f), (fd, b, n, f))                                         \
    X (io, ssize_t, sendto, (int fd, const void* b, size_t n, int f, const sockaddr* a, socklen_t l), (fd, b, n, f, a, l)) \
    X (io, ssize_t, sendmsg, (int fd, const msghdr* m, int f), (fd, m, f))                                                 \
    X (io, ssize_t, recv, (int fd, void* b, size_t n, int f), (fd, b, n, f))                                               \
    X (io, ssize_t, recvfrom, (int fd, void* b, size_t n, int f, sockaddr* a, socklen_t* l), (fd, b, n, f, a, l))          \
    X (io, ssize_t, recvmsg, (int fd, msghdr* m, int f), (fd, m, f))                                                       \
    X (io, int, poll, (pollfd * p, nfds_t n, int t), (p, n, t))                                                            \
    X (io, int, ppoll, (pollfd * p, nfds_t n, const timespec* t, const sigset_t* s), (p, n, t, s))                         \
    X (io, int, select, (int n, fd_set* r, fd_set* w, fd_set* e, timeval* t), (n, r, w, e, t))                             \
    X (io, int, epoll_wait, (int fd, epoll_event* e, int n, int t), (fd, e, n, t))

#define MARLODE_OPEN_CALLS(X) X (open) X (open64) X (openat) X (openat64)

namespace
{
using Kind = MarlodeTest::RealtimeWatch::Kind;

enum Watched
{
#define MARLODE_SLOT(kind, ret, name, params, args) slot_##name,
    MARLODE_FORWARDED_CALLS (MARLODE_SLOT)
#undef MARLODE_SLOT
#define MARLODE_SLOT(name) slot_##name,
    MARLODE_OPEN_CALLS (MARLODE_SLOT)
#undef MARLODE_SLOT
        numWatched
};

struct WatchedFunction
{
    const char* name;
    Kind kind;
};

constexpr WatchedFunction watchedFunctions[] = {
#define MARLODE_ENTRY(kind, ret, name, params, args) { #name, Kind::kind },
    MARLODE_FORWARDED_CALLS (MARLODE_ENTRY)
#undef MARLODE_ENTRY
#define MARLODE_ENTRY(name) { #name, Kind::io },
        MARLODE_OPEN_CALLS (MARLODE_ENTRY)
#undef MARLODE_ENTRY
};

// Constant-initialised, so reading it inside malloc or a sanitizer hook never allocates.
// Written and read only by its own thread.
thread_local bool watching = false;

// Written by watched threads, read and reset by the test's thread.
std::atomic<long> allocationCount { 0 };
std::atomic<long> callCounts[numWatched] {};

inline void noteAllocation() noexcept
{
    if (watching)
        allocationCount.fetch_add (1, std::memory_order_relaxed);
}

inline void noteCall (Watched slot) noexcept
{
    if (watching)
        callCounts[slot].fetch_add (1, std::memory_order_relaxed);
}

// The definition after ours: the sanitizer's interceptor when there is one, else the C
// library's default version. (A versioned lookup would pass over the interceptors, which
// carry no version, and the sanitizer would miss the call.)
void* nextDefinition (const char* name) noexcept
{
    void* next = dlsym (RTLD_NEXT, name);
    if (next == nullptr)
        std::abort();
    return next;
}

// open's mode is there only when the flags create a file.
mode_t modeArgument (int flags, va_list args) noexcept
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? (mode_t) va_arg (args, unsigned) : 0;
}
}

namespace MarlodeTest
{
void RealtimeWatch::begin() noexcept
{
    watching = true;
}
void RealtimeWatch::end() noexcept
{
    watching = false;
}

void RealtimeWatch::reset() noexcept
{
    allocationCount.store (0);
    for (auto& c : callCounts)
        c.store (0);
}

long RealtimeWatch::count (Kind kind) noexcept
{
    if (kind == Kind::allocation)
        return allocationCount.load();

    long total = 0;
    for (int i = 0; i < numWatched; ++i)
        if (watchedFunctions[i].kind == kind)
            total += callCounts[i].load();
    return total;
}

long RealtimeWatch::calls (const char* function) noexcept
{
    for (int i = 0; i < numWatched; ++i)
        if (std::strcmp (watchedFunctions[i].name, function) == 0)
            return callCounts[i].load();
    return -1;
}

std::string RealtimeWatch::report()
{
    std::string text = "allocations " + std::to_string (allocationCount.load());
    for (int i = 0; i < numWatched; ++i)
        if (const auto n = callCounts[i].load(); n > 0)
            text += std::string (", ") + watchedFunctions[i].name + " " + std::to_string (n);
    return text;
}
} // namespace MarlodeTest

#define MARLODE_FORWARD(kind, ret, name, params, args)                                      \
    extern "C" ret name params                                                              \
    {                                                                                       \
        static const auto next = reinterpret_cast<ret (*) params> (nextDefinition (#name)); \
        noteCall (slot_##name);                                                             \
        return next args;                                                                   \
    }
MARLODE_FORWARDED_CALLS (MARLODE_FORWARD)
#undef MARLODE_FORWARD

#define MARLODE_FORWARD_OPEN(name, params, args)                                           \
    extern "C" int name params                                                             \
    {                                                                                      \
        static const auto next = reinterpret_cast<int (*) (...)> (nextDefinition (#name)); \
        va_list rest;                                                                      \
        va_start (rest, flags);                                                            \
        const auto mode = modeArgument (flags, rest);                                      \
        va_end (rest);                                                                     \
        noteCall (slot_##name);                                                            \
        return reinterpret_cast<int (*) params> (next) args;                               \
    }
MARLODE_FORWARD_OPEN (open, (const char* path, int flags, ...), (path, flags, mode))
MARLODE_FORWARD_OPEN (open64, (const char* path, int flags, ...), (path, flags, mode))
MARLODE_FORWARD_OPEN (openat, (int dir, const char* path, int flags, ...), (dir, path, flags, mode))
MARLODE_FORWARD_OPEN (openat64, (int dir, const char* path, int flags, ...), (dir, path, flags, mode))
#undef MARLODE_FORWARD_OPEN

#if MARLODE_SANITIZED
// The sanitizer's runtime owns malloc and operator new, and replacing them would run before the
// runtime is ready; it calls these hooks for every allocation and release of any kind instead.
extern "C" int __sanitizer_install_malloc_and_free_hooks (void (*) (const volatile void*, size_t),
                                                          void (*) (const volatile void*));
namespace
{
void onMalloc (const volatile void*, size_t)
{
    noteAllocation();
}
void onFree (const volatile void*)
{
    noteAllocation();
}
[[maybe_unused]] const int allocationHooks = __sanitizer_install_malloc_and_free_hooks (onMalloc, onFree);
}
#else
extern "C"
{
    void* __libc_malloc (size_t);
    void* __libc_calloc (size_t, size_t);
    void* __libc_realloc (void*, size_t);
    void* __libc_memalign (size_t, size_t);
    void __libc_free (void*);

    void* malloc (size_t size)
    {
        noteAllocation();
        return __libc_malloc (size);
    }

    void free (void* p)
    {
        noteAllocation();
        __libc_free (p);
    }

    void* calloc (size_t n, size_t size)
    {
        noteAllocation();
        return __libc_calloc (n, size);
    }

    void* realloc (void* p, size_t size)
    {
        noteAllocation();
        return __libc_realloc (p, size);
    }

    void* memalign (size_t alignment, size_t size)
    {
        noteAllocation();
        return __libc_memalign (alignment, size);
    }

    void* aligned_alloc (size_t alignment, size_t size)
    {
        noteAllocation();
        return __libc_memalign (alignment, size);
    }

    int posix_memalign (void** out, size_t alignment, size_t size)
    {
        noteAllocation();
        *out = __libc_memalign (alignment, size);
        return *out != nullptr ? 0 : ENOMEM;
    }
}

void* operator new (size_t size)
{
    if (auto* p = malloc (size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[] (size_t size)
{
    return operator new (size);
}
void* operator new (size_t size, const std::nothrow_t&) noexcept
{
    return malloc (size ? size : 1);
}
void* operator new[] (size_t size, const std::nothrow_t&) noexcept
{
    return malloc (size ? size : 1);
}
void* operator new (size_t size, std::align_val_t a)
{
    if (auto* p = aligned_alloc ((size_t) a, size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[] (size_t size, std::align_val_t a)
{
    return operator new (size, a);
}
void operator delete (void* p) noexcept
{
    free (p);
}
void operator delete[] (void* p) noexcept
{
    free (p);
}
void operator delete (void* p, size_t) noexcept
{
    free (p);
}
void operator delete[] (void* p, size_t) noexcept
{
    free (p);
}
void operator delete (void* p, std::align_val_t) noexcept
{
    free (p);
}
void operator delete[] (void* p, std::align_val_t) noexcept
{
    free (p);
}
void operator delete (void* p, size_t, std::align_val_t) noexcept
{
    free (p);
}
void operator delete[] (void* p, size_t, std::align_val_t) noexcept
{
    free (p);
}
#endif
