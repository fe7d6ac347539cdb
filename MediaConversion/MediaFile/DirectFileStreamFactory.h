#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"

#include <memory>
#include <string>

namespace MediaConversion {

// For readers that read directly: its streams can bypass the operating system's cache.
class DirectFileStreamFactory final : public IFileStreamFactory, public IFileSystemInfoFactory
{
public:
    std::unique_ptr<IFileStream> create() override;
    std::unique_ptr<IFileSystemInfo> createFileSystemInfo(const std::wstring& fileName) override;
};

}
