#pragma once

#include "tools/InputFiles.h"

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// A file has many names, by links and by folders. Those that are read are told here from those that
// are written, of 100,000 frames and more, without a look at each.
namespace Zeq {

// Paths without links, "." and "..", so that those of one folder are the same. A folder is looked
// up once.
class PlainPaths
{
public:
    const std::filesystem::path& ofFolder(const std::filesystem::path& folder);
    std::filesystem::path ofFile(const std::filesystem::path& file);

private:
    std::map<std::filesystem::path, std::filesystem::path> m_folders;
};

class InputNames
{
public:
    explicit InputNames(const std::vector<InputFile>& inputs);

    // The input that this output would take the place of, if any.
    std::optional<std::string> sameAs(const std::string& output);

private:
    // The device and the number that all links to a file share.
    using FileNumber = std::pair<dev_t, ino_t>;

    static std::optional<FileNumber> fileNumber(const std::string& name);
    const std::map<FileNumber, std::string>& byNumber();

    PlainPaths m_paths;
    std::map<std::filesystem::path, std::string> m_byPath;
    std::optional<std::map<FileNumber, std::string>> m_byNumber;  // once an output exists
};

}
