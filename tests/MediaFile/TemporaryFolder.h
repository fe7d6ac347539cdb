#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace MediaConversion::MediaFileTests {

// A folder for a test's files inside the folder that the test runs in.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        if (!::mkdtemp(m_path.data()))
            throw std::runtime_error("No temporary folder");
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path = std::filesystem::current_path() / "MediaFileTest.XXXXXX";
};

}
