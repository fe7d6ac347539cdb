#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

namespace Zeq {

// Keeps the frames that are in memory at once within a limit. A frame that is larger than the limit
// gets its memory when it is alone.
class MemoryBudget
{
public:
    explicit MemoryBudget(std::uint64_t limit) : m_limit(limit) {}

    // Memory that is counted until it is destroyed.
    class Reservation
    {
    public:
        Reservation(MemoryBudget& budget, std::uint64_t size);
        ~Reservation();

        Reservation(const Reservation&) = delete;
        Reservation& operator=(const Reservation&) = delete;

    private:
        MemoryBudget& m_budget;
        std::uint64_t m_size;
    };

    // Waits until there is room. Throws a std::runtime_error for more than the machine has: a
    // file's header can claim anything.
    [[nodiscard]] Reservation reserve(std::uint64_t size) { return {*this, size}; }

private:
    const std::uint64_t m_limit;
    std::uint64_t m_used = 0;
    std::mutex m_usedMutex;
    std::condition_variable m_released;
};

// The bytes that a text like "4G" or "512M" means; throws a UsageError.
std::uint64_t parseByteCount(const std::string& text);

}
