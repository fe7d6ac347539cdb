#pragma once

#include <filesystem>
#include <string>
#include <vector>

// A folder of media files for a host to show over and over: noise in every format and several
// sizes, and beside each a file that ends early. Gone with the object.
class ClipFiles
{
public:
    ClipFiles();
    ~ClipFiles();

    ClipFiles(const ClipFiles&) = delete;
    ClipFiles& operator=(const ClipFiles&) = delete;

    const std::vector<std::string>& paths() const { return m_paths; }

private:
    std::filesystem::path m_folder;
    std::vector<std::string> m_paths;
};
