#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace Benchmarks {

// A folder in memory that goes with its owner.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string name = "/dev/shm/benchmark-XXXXXX";
        if (!mkdtemp(name.data()))
            throw std::runtime_error("cannot create a folder in /dev/shm");
        m_path = name;
    }

    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string file(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

}
