#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace Headless {

// Gives each picture a file name in the output folder. No two pictures get the same one, and none
// gets that of a file that is still to be read or of the contact sheet.
class OutputNames
{
public:
    OutputNames(std::filesystem::path folder, const std::vector<std::string>& inputs);

    std::filesystem::path contactSheet() const;

    // The path without its extension: "folder/shot", or "folder/shot-2" where that is taken.
    std::filesystem::path next(const std::filesystem::path& input);

private:
    bool take(const std::filesystem::path& path);

    std::filesystem::path m_folder;
    std::set<std::filesystem::path> m_taken;
};

}
