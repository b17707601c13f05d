#include "support/RealtimeWatch.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <new>
#include <pthread.h>

extern "C"
{
    void* __libc_malloc (size_t);
    void* __libc_calloc (size_t, size_t);
    void* __libc_realloc (void*, size_t);
    void* __libc_memalign (size_t, size_t);
    void __libc_free (void*);
}

namespace
{
    // Constant-initialised, so reading it inside malloc never allocates.
    thread_local bool watching = false;
    std::atomic<long> allocationCount { 0 };
    std::atomic<long> lockCount { 0 };

    inline void noteAllocation() noexcept
    {
        if (watching)
            allocationCount.fetch_add (1, std::memory_order_relaxed);
    }

    using MutexFn = int (*) (pthread_mutex_t*);

    MutexFn realMutex (const char* name) noexcept
    {
        return reinterpret_cast<MutexFn> (dlsym (RTLD_NEXT, name));
    }
}

namespace MarlodeTest
{
void RealtimeWatch::begin() noexcept { watching = true; }
void RealtimeWatch::end() noexcept { watching = false; }
void RealtimeWatch::reset() noexcept
{
    allocationCount.store (0);
    lockCount.store (0);
}
long RealtimeWatch::allocations() noexcept { return allocationCount.load(); }
long RealtimeWatch::locks() noexcept { return lockCount.load(); }
} // namespace MarlodeTest

extern "C"
{
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

    int pthread_mutex_lock (pthread_mutex_t* m)
    {
        static const MutexFn real = realMutex ("pthread_mutex_lock");
        if (watching)
            lockCount.fetch_add (1, std::memory_order_relaxed);
        return real (m);
    }

    int pthread_mutex_trylock (pthread_mutex_t* m)
    {
        static const MutexFn real = realMutex ("pthread_mutex_trylock");
        if (watching)
            lockCount.fetch_add (1, std::memory_order_relaxed);
        return real (m);
    }
}

void* operator new (size_t size) { if (auto* p = malloc (size ? size : 1)) return p; throw std::bad_alloc(); }
void* operator new[] (size_t size) { return operator new (size); }
void* operator new (size_t size, const std::nothrow_t&) noexcept { return malloc (size ? size : 1); }
void* operator new[] (size_t size, const std::nothrow_t&) noexcept { return malloc (size ? size : 1); }
void* operator new (size_t size, std::align_val_t a)
{
    if (auto* p = aligned_alloc ((size_t) a, size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[] (size_t size, std::align_val_t a) { return operator new (size, a); }
void operator delete (void* p) noexcept { free (p); }
void operator delete[] (void* p) noexcept { free (p); }
void operator delete (void* p, size_t) noexcept { free (p); }
void operator delete[] (void* p, size_t) noexcept { free (p); }
void operator delete (void* p, std::align_val_t) noexcept { free (p); }
void operator delete[] (void* p, std::align_val_t) noexcept { free (p); }
void operator delete (void* p, size_t, std::align_val_t) noexcept { free (p); }
void operator delete[] (void* p, size_t, std::align_val_t) noexcept { free (p); }
