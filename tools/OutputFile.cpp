#include "tools/OutputFile.h"

#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "tools/Messages.h"

#include <filesystem>
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
