#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

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

    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}
