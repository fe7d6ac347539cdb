#include "tools/Files.h"

#include "MediaConversion/MediaFile/FileStreamOver.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

namespace Zeq {

std::string extensionOf(const std::string& fileName)
{
    auto extension = std::filesystem::path(fileName).extension().native();
    if (!extension.empty())
        extension.erase(0, 1);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    return extension;
}

std::string beginningOf(const std::string& fileName, std::size_t count)
{
    if (!MediaConversion::mayBeOpenedAsFile(fileName.c_str()))
        return {};
    std::string bytes(count, '\0');
    std::ifstream file(fileName, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

std::vector<std::string> mediaFilesIn(const std::string& folder)
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && extensionOf(entry.path()) == "zeq")
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

std::string programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}
