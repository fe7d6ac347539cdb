#include "tools/MemoryBudget.h"

#include "MediaConversion/Errors.h"
#include "tools/Command.h"

#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <string_view>

namespace Zeq {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;

std::uint64_t machineMemory()
{
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

}

MemoryBudget::Reservation::Reservation(MemoryBudget& budget, std::uint64_t size)
    : m_budget(budget), m_size(size)
{
    if (size > machineMemory())
        MediaConversion::fail("needs ", size / mebibyte,
                              " MiB of memory, more than this machine has");
    std::unique_lock lock(budget.m_usedMutex);
    budget.m_released.wait(
        lock, [&] { return budget.m_used == 0 || budget.m_used + size <= budget.m_limit; });
    budget.m_used += size;
}

MemoryBudget::Reservation::~Reservation()
{
    {
        const std::lock_guard lock(m_budget.m_usedMutex);
        m_budget.m_used -= m_size;
    }
    m_budget.m_released.notify_all();
}

std::uint64_t parseByteCount(const std::string& text)
{
    std::uint64_t count = 0;
    const auto* const end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, count);
    const std::string_view rest(unit, static_cast<std::size_t>(end - unit));
    const int shift = rest == "M" ? 20 : rest == "G" ? 30 : -1;
    if (error != std::errc() || shift < 0 || count == 0 || count > UINT64_MAX >> shift)
        throw UsageError("--memory: " + text + " is no amount like 512M or 4G");
    return count << shift;
}

}
