#include "tests/MediaPipeline/FailingHeap.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int allocationsUntilFailure = 0;

}

void failAllocation(int number)
{
    allocationsUntilFailure = number;
}

void* operator new(std::size_t size)
{
    if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0)
        throw std::bad_alloc();
    if (void* const block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
