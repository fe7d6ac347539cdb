#include "tools/Files.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "tools/Report.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <ios>
#include <memory>
#include <utility>

namespace Zeq {

using MediaConversion::AtomicFile;
using MediaConversion::VelmoraMediaFileWriter;

namespace {

template <class Write>
void writeTo(const std::string& fileName, const std::string& extension, const Write& write)
{
    try {
        write(std::make_unique<AtomicFile>(MediaConversion::wideFileName(fileName), extension));
    } catch (const std::exception& error) {
        throw OutputError(fileName + ": " + messageOf(error));
    }
}

}

std::string extensionOf(const std::string& fileName)
{
    auto extension = std::filesystem::path(fileName).extension().native();
    if (!extension.empty())
        extension.erase(0, 1);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    return extension;
}

bool hasMediaFileExtension(const std::string& fileName)
{
    return extensionOf(fileName) == "zeq";
}

bool exists(const std::string& name)
{
    std::error_code ignored;
    return std::filesystem::exists(name, ignored);
}

std::string beginningOf(const std::string& fileName, std::size_t count)
{
    MediaConversion::FileStream file;
    file.open(fileName, std::ios_base::in | std::ios_base::binary);
    std::string bytes(count, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        MediaConversion::fail(folder, ": ", error.message());
}

std::string programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void writeOutput(const std::string& fileName, const Velmora::ImageFrame& frame,
                 const MediaConversion::MediaFileOptions& options)
{
    writeTo(fileName, "", [&](std::unique_ptr<AtomicFile> file) {
        const VelmoraMediaFileWriter writer([&](const std::wstring&) { return std::move(file); });
        writer.write(MediaConversion::wideFileName(fileName), frame, options);
    });
}

void writeOutput(const std::string& fileName,
                 const std::function<void(const std::string& temporaryName)>& write)
{
    const auto extension = std::filesystem::path(fileName).extension().native();
    writeTo(fileName, extension, [&](std::unique_ptr<AtomicFile> file) {
        write(file->temporaryName());
        file->commit();
    });
}

}
