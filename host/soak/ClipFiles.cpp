#include "host/soak/ClipFiles.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

using Velmora::PooledBuffer;
using Velmora::RawFrameData;

struct Size
{
    int width, height;
};

// The first has blocks of more than 4 MiB, whose pages are fetched by several threads.
constexpr Size sizes[] = {{1280, 720}, {16, 4}, {480, 272}, {960, 540}};

std::unique_ptr<Velmora::ImageFrame> noise(const Velmora::FrameFormat& format, const Size& size)
{
    const auto pool =
        std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>();
    const auto byteCount = MediaConversion::frameDataSize(
        format, static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height));
    auto buffer = std::make_unique<PooledBuffer>(pool, byteCount);
    cv::Mat bytes(1, static_cast<int>(byteCount), CV_8U, buffer->data());
    cv::randu(bytes, 0, 256);
    return MediaConversion::rawFrameCreator(format).create(
        format, size.height, size.width, std::make_unique<RawFrameData>(std::move(buffer), 0));
}

}

ClipFiles::ClipFiles()
{
    auto name = (std::filesystem::temp_directory_path() / "soakXXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("Cannot make the folder " + name);
    m_folder = name;

    const MediaConversion::VelmoraMediaFileWriter writer;
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
        for (const auto& size : sizes) {
            const auto stem = m_folder / std::to_string(m_paths.size());
            m_paths.push_back(stem.string() + ".zeq");
            writer.write(MediaConversion::wideFileName(m_paths.back()), *noise(format, size));

            const auto cut = stem.string() + "-cut.zeq";
            std::filesystem::copy_file(m_paths.back(), cut);
            std::filesystem::resize_file(cut, std::filesystem::file_size(cut) * 2 / 3);
            m_paths.push_back(cut);
        }
}

ClipFiles::~ClipFiles()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}
