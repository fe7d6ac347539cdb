#include "tools/Allowance.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

int boundProcessors()
{
    cpu_set_t processors;
    // Machines with more processors than the set can hold have no lack of them.
    const int count = ::sched_getaffinity(0, sizeof processors, &processors) == 0
                          ? CPU_COUNT(&processors)
                          : static_cast<int>(std::thread::hardware_concurrency());
    return std::max(1, count);
}

std::uint64_t machineMemory()
{
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// The next number; nothing for "max" and for -1, which both mean that there is no limit.
std::optional<std::uint64_t> limitIn(std::istream& text)
{
    std::int64_t limit = 0;
    return text >> limit && limit > 0 ? std::optional(static_cast<std::uint64_t>(limit))
                                      : std::nullopt;
}

// Where a group's files may stand: its folder and those above, up to that of all groups. A
// container may see its own group's files there, and still the name that the group has outside.
std::vector<fs::path> foldersOf(const fs::path& allGroups, const std::string& group)
{
    std::vector<fs::path> folders{allGroups};
    for (const auto& name : fs::path(group).relative_path())
        folders.push_back(folders.back() / name);
    return folders;
}

// Keeps the smallest of the limits that it is told.
class Limits
{
public:
    explicit Limits(const Allowance& allowance) : m_allowance(allowance) {}

    void setMemory(const fs::path& file)
    {
        std::ifstream text(file);
        if (const auto limit = limitIn(text))
            m_allowance.memory = std::min(m_allowance.memory, *limit);
    }

    // The quota is processor time within each period. A part of a processor counts as one.
    void setProcessors(std::istream& quotaText, std::istream& periodText)
    {
        const auto quota = limitIn(quotaText);
        const auto period = limitIn(periodText);
        if (!quota || !period)
            return;
        const auto processors = *quota / *period + (*quota % *period ? 1 : 0);
        m_allowance.processors = static_cast<int>(
            std::min(static_cast<std::uint64_t>(m_allowance.processors), processors));
    }

    const Allowance& allowance() const { return m_allowance; }

private:
    Allowance m_allowance;
};

void readVersion2(Limits& limits, const fs::path& allGroups, const std::string& group)
{
    for (const auto& folder : foldersOf(allGroups, group)) {
        limits.setMemory(folder / "memory.max");
        limits.setMemory(folder / "memory.high");
        std::ifstream processors(folder / "cpu.max");
        limits.setProcessors(processors, processors);
    }
}

void readVersion1(Limits& limits, const fs::path& allGroups, const std::string& controllers,
                  const std::string& group)
{
    std::istringstream names(controllers);
    for (std::string controller; std::getline(names, controller, ',');)
        for (const auto& folder : foldersOf(allGroups / controller, group)) {
            limits.setMemory(folder / "memory.limit_in_bytes");
            std::ifstream quota(folder / "cpu.cfs_quota_us");
            std::ifstream period(folder / "cpu.cfs_period_us");
            limits.setProcessors(quota, period);
        }
}

}

Allowance readAllowance(const fs::path& root)
{
    Limits limits({boundProcessors(), machineMemory()});
    const auto allGroups = root / "sys/fs/cgroup";
    // A line is "number:controllers:group"; version 2 has no controllers in it.
    std::ifstream groups(root / "proc/self/cgroup");
    for (std::string number, controllers, group; std::getline(groups, number, ':') &&
                                                 std::getline(groups, controllers, ':') &&
                                                 std::getline(groups, group);)
        if (controllers.empty())
            readVersion2(limits, allGroups, group);
        else
            readVersion1(limits, allGroups, controllers, group);
    return limits.allowance();
}

const Allowance& allowance()
{
    static const auto allowance = readAllowance();
    return allowance;
}

}
