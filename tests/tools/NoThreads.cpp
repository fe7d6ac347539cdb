// Loaded before a program's libraries, lets it start as many threads as it is told in THREADS, and
// then no more: as in a process that has reached its limit, which the superuser does not have.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*run)(void*), void* argument) noexcept
{
    static std::atomic<int> started = 0;
    const char* const limit = std::getenv("THREADS");
    if (!limit || started++ >= std::atoi(limit))
        return EAGAIN;
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, run, argument);
}
