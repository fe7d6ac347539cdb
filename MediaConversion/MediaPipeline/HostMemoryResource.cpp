#include "MediaConversion/MediaPipeline/HostMemoryResource.h"

#include "MediaConversion/MediaPipeline/Frames.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <exception>
#include <functional>
#include <thread>
#include <vector>

namespace Velmora {

namespace {

// A place for a resource, not for its block.
struct Slot
{
    alignas(HostMemoryResource) std::byte resource[sizeof(HostMemoryResource)];
    std::atomic<bool> isTaken;
};

// Sizes are told apart by their four leading bits, so that those of a class differ by less than an
// eighth. With three, some clips that follow one of another size keep needing new blocks.
constexpr int leadingBits = 4;

constexpr std::size_t sizeClass(std::uint64_t size)
{
    const int shift = std::max(static_cast<int>(std::bit_width(size)) - leadingBits, 0);
    return static_cast<std::size_t>(shift << (leadingBits - 1)) + (size >> shift);
}

// Each reader holds a frame, and pictures of one size are of one class: room for many readers. All
// zeros, the table costs address space only. Never destroyed: resources may outlive static objects.
constexpr std::size_t slotsPerClass = 256;
constinit std::array<std::array<Slot, slotsPerClass>, sizeClass(UINT64_MAX) + 1> slots{};

bool isSlot(const void* address)
{
    return !std::less<>()(address, slots.begin()) && std::less<>()(address, slots.end());
}

// A smaller block has its pages before a second thread has started.
constexpr std::uint64_t leastPopulatedSize = 1 << 22;
constexpr unsigned mostThreads = 4;

// What is larger is no matrix that a host keeps for long beside its frames.
constexpr std::uint64_t largestSmallSize = 1 << 18;

std::uintptr_t pageSize()
{
    return static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
}

}

std::span<std::byte> HostMemoryResource::wholePages(std::uint64_t offset) const
{
    const auto start = reinterpret_cast<std::uintptr_t>(m_data);
    const auto first = (start + offset + pageSize() - 1) / pageSize() * pageSize();
    const auto end = (start + m_size) / pageSize() * pageSize();
    return {m_data + (first - start), end - first};
}

void HostMemoryResource::populate() noexcept
try {
    if (m_size < leastPopulatedSize)
        return;
    const auto pages = wholePages(0);
    // Large pages come a few times as fast, and go at once. Without them it works as well.
    ::madvise(pages.data(), pages.size(), MADV_HUGEPAGE);
    const auto pieces = std::clamp(std::thread::hardware_concurrency(), 1u, mostThreads);
    const auto piece = pages.size() / pieces / pageSize() * pageSize() + pageSize();
    std::vector<std::jthread> threads;
    for (std::size_t first = 0; first < pages.size(); first += piece)
        threads.emplace_back(::madvise, pages.data() + first, std::min(piece, pages.size() - first),
                             MADV_POPULATE_WRITE);
} catch (const std::exception&) {
    // Nothing is lost: pages come when they are written.
}

void HostMemoryResource::useOnly(std::uint64_t size) noexcept
{
    if (size > largestSmallSize || m_size < leastPopulatedSize)
        return;
    const auto pages = wholePages(size);
    ::madvise(pages.data(), pages.size(), MADV_DONTNEED);
}

// Without a free slot the resource may lie anywhere: the pool then works as well, but may have to
// make blocks that it had.
void* HostMemoryResource::operator new(std::size_t bytes, BlockSize block)
{
    for (auto& slot : slots[sizeClass(block.bytes)])
        if (!slot.isTaken.exchange(true))
            return slot.resource;
    return ::operator new(bytes);
}

void HostMemoryResource::operator delete(void* address)
{
    if (isSlot(address))
        static_cast<Slot*>(address)->isTaken = false;
    else
        ::operator delete(address);
}

void installMemoryPool()
{
    ImageFrame::setMemoryPool(std::make_shared<SelfPruningMemoryPool<HostMemoryResource>>());
}

void installMemoryPool(std::uint64_t limit)
{
    ImageFrame::setMemoryPool(std::make_shared<BoundedMemoryPool<HostMemoryResource>>(limit));
}

void installMemoryPoolForFrames(std::uint64_t limit)
{
    ImageFrame::setMemoryPool(std::make_shared<BoundedMemoryPool<HostMemoryResource>>(limit),
                              ImageFrame::PooledMatrices::OfFrames);
}

}
