#include "MediaConversion/MediaFile/DirectFileStreamFactory.h"

#include "MediaConversion/MediaFile/DirectFileStream.h"
#include "MediaConversion/MediaFile/FileNames.h"

#include <sys/stat.h>

#include <cstdint>

namespace MediaConversion {

namespace {

class FileSystemInfo final : public IFileSystemInfo
{
public:
    FileSystemInfo(std::uint64_t fileSize, std::uint64_t alignmentUnit)
        : m_fileSize(fileSize), m_alignmentUnit(alignmentUnit)
    {
    }

    std::uint64_t fileSize() const override { return m_fileSize; }
    std::uint64_t alignmentUnit() const override { return m_alignmentUnit; }

private:
    std::uint64_t m_fileSize;
    std::uint64_t m_alignmentUnit;
};

}

std::unique_ptr<IFileStream> DirectFileStreamFactory::create()
{
    return std::make_unique<DirectFileStream>();
}

std::unique_ptr<IFileSystemInfo> DirectFileStreamFactory::createFileSystemInfo(
    const std::wstring& fileName)
{
    const auto narrow = narrowFileName(fileName);
    struct stat status;
    if (!narrow || ::stat(narrow->c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return std::make_unique<FileSystemInfo>(static_cast<std::uint64_t>(status.st_size),
                                            static_cast<std::uint64_t>(status.st_blksize));
}

}
