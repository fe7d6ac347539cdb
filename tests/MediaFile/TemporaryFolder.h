#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace MediaFileTests {

// A folder for a test's files inside the folder that the test runs in.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::current_path() / "MediaFileTest.XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("No temporary folder");
        m_path = name;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    std::string file(const std::string& name) const { return m_path.string() + "/" + name; }

private:
    std::filesystem::path m_path;
};

}
