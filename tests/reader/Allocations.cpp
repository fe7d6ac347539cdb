#include "tests/reader/Allocations.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t size)
{
    const bool fails = Allocations::untilFailure > 0 && --Allocations::untilFailure == 0;
    void* const memory = fails ? nullptr : std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    ++Allocations::living;
    Allocations::large += size >= Allocations::leastLargeSize;
    return memory;
}

void operator delete(void* memory) noexcept
{
    Allocations::living -= memory != nullptr;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
