#include "tests/reader/MemoryTest.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

// The size of a block if it is large, and 0 otherwise.
static std::size_t largeSize(void* memory)
{
    const auto size = ::malloc_usable_size(memory);
    return size >= Allocations::leastLargeSize ? size : 0;
}

void* operator new(std::size_t size)
{
    const bool fails = Allocations::untilFailure > 0 && --Allocations::untilFailure == 0;
    void* const memory = fails ? nullptr : std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    ++Allocations::living;
    Allocations::large += size >= Allocations::leastLargeSize;
    Allocations::largeBytes += largeSize(memory);
    Allocations::mostLargeBytes =
        std::max<std::size_t>(Allocations::mostLargeBytes, Allocations::largeBytes);
    return memory;
}

void operator delete(void* memory) noexcept
{
    Allocations::living -= memory != nullptr;
    Allocations::largeBytes -= largeSize(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
