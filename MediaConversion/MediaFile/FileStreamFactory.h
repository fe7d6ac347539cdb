#pragma once

#include "MediaConversion/MediaFile/FileStream.h"

#include <memory>

namespace MediaConversion {

class FileStreamFactory final : public IFileStreamFactory
{
public:
    std::unique_ptr<IFileStream> create() override { return std::make_unique<FileStream>(); }
};

}
