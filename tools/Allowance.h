#pragma once

#include <cstdint>
#include <filesystem>

namespace Zeq {

// What this process may have of the machine.
struct Allowance
{
    int processors;
    std::uint64_t memory;  // bytes
};

// What is left of the machine by the processors that the process is bound to, and by the quota and
// the limit of its control group and those above, of version 1 or 2. What cannot be read sets no
// limit. The kernel's files are read below `root`.
Allowance readAllowance(const std::filesystem::path& root = "/");

// The same, read once.
const Allowance& allowance();

}
