#pragma once

#include "tools/Jobs.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Zeq {

// What became of all files of a run, for scripts.
struct RunReport
{
    struct Entry
    {
        std::string file;
        std::optional<std::string> output;  // nothing where a command has none; may be empty
        JobOutcome outcome;
        bool isSkipped = false;
    };

    std::vector<Entry> entries;
    std::size_t missing = 0;  // frames of sequences

    // Prints it as JSON: the numbers, and an object for each file.
    void print() const;
};

// A line of JSON for one file. The bytes are those that were written or checked, where there are
// any.
std::string lineOf(const RunReport::Entry& entry, std::optional<std::uintmax_t> byteCount);

}
