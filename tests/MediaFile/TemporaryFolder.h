#pragma once

#include <fcntl.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace MediaConversion::MediaFileTests {

// A folder for a test's files, inside the one that the test runs in unless another is given.
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::current_path())
        : m_path(parent / "MediaFileTest.XXXXXX")
    {
        if (!::mkdtemp(m_path.data()))
            throw std::runtime_error("No temporary folder");
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    // The whole name of a file in the folder. A whole name stays as it is, here and below.
    std::string file(const std::string& name) const { return std::filesystem::path(m_path) / name; }
    std::string content(const std::string& name) const
    {
        std::ifstream stream(file(name), std::ios::binary);
        return {std::istreambuf_iterator(stream), {}};
    }
    std::set<std::string> files(const std::string& inner = "") const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(file(inner)))
            names.insert(entry.path().filename());
        return names;
    }

    // The flags of this process's descriptors for the folder and for files in it.
    std::vector<int> descriptorFlags() const
    {
        std::vector<int> flags;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            if (read_symlink(entry).native().starts_with(m_path))
                flags.push_back(::fcntl(std::stoi(entry.path().filename()), F_GETFD));
        return flags;
    }

private:
    std::string m_path;
};

}
