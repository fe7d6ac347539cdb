#include "tools/FrameConversion.h"

#include "MediaConversion/Errors.h"
#include "tools/Command.h"
#include "tools/Files.h"
#include "tools/OpenFile.h"
#include "tools/PictureModule.h"
#include "tools/PictureTypes.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <utility>

namespace Zeq {

using MediaConversion::fail;

namespace {

void checkSide(const char* side, int length, std::uint32_t group, const MediaFormat& format)
{
    constexpr auto limit = std::numeric_limits<std::uint16_t>::max();
    if (length > limit)
        fail("is ", length, " pixels ", side, "; a media file holds at most ", limit);
    if (length % static_cast<int>(group) != 0)
        fail("is ", length, " pixels ", side, "; ", format.name, " needs a multiple of ", group);
}

// The conversion to 8 bits takes what is too large for an int to 0: a highlight would be black.
std::unique_ptr<Velmora::IFrame> withLimitedHighlights(std::unique_ptr<Velmora::IFrame> frame)
{
    cv::Mat image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
    if (image.depth() == CV_32F)
        image.forEach<cv::Vec4f>([](cv::Vec4f& pixel, const int*) {
            for (int channel = 0; channel < 4; ++channel)
                pixel[channel] = pixel[channel] > 1 ? 1 : pixel[channel];
        });
    return frame;
}

void writeMediaFile(IOpenFile& file, const std::string& output, const MediaFormat& format,
                    MemoryBudget& budget)
{
    const auto& contents = file.contents();
    const auto options = file.mediaFileOptions();
    // A media file keeps the frame that it has, of which hosts show the picture.
    if (!options.width) {
        const auto& packing = format.frameFormat.pixelPacking;
        checkSide("wide", contents.size.width, packing.columnsPerGroup, format);
        checkSide("high", contents.size.height, packing.rowsPerGroup, format);
    }
    const auto filledUp = options.width ? 0 : fillingUpByteCount(contents);
    const auto reservation =
        budget.reserve(contents.byteCount + filledUp + std::max(contents.byteCount, filledUp) / 4);
    const auto frame = converted(withLimitedHighlights(file.readFrame()), format.frameFormat);
    writeOutput(output, dynamic_cast<const Velmora::ImageFrame&>(*frame), options);
}

void writeOtherPicture(IOpenFile& file, const std::string& output, const PictureType& type,
                       std::optional<SampleDepth> wantedDepth, MemoryBudget& budget)
{
    const auto& contents = file.contents();
    const bool hasAlpha = contents.hasAlpha && type.holdsAlpha;
    const auto depth = wantedDepth ? checkedDepth(type, *wantedDepth, hasAlpha)
                                   : losslessDepth(type, contents.depth, hasAlpha);
    checkNotEmpty(contents);
    const auto filledUp = fillingUpByteCount(contents);
    const auto reservation =
        budget.reserve(contents.byteCount + filledUp + std::max(contents.byteCount, filledUp));
    auto picture = whole(file.readPicture());
    writeOutput(output, [&](const std::string& name) {
        pictureModule().write(name, std::move(picture),
                              {hasAlpha, depth, std::filesystem::path(output).filename()});
    });
}

}

void convertFile(const Conversion& conversion, const WantedResult& wanted, MemoryBudget& budget)
{
    const auto file = openFile(conversion.input);
    if (hasMediaFileExtension(conversion.output)) {
        const auto& contents = file->contents();
        const auto& format =
            wanted.format ? *wanted.format : defaultMediaFormat(contents.depth, contents.hasAlpha);
        writeMediaFile(*file, conversion.output, format, budget);
    } else {
        const auto* const type = findPictureType(extensionOf(conversion.output));
        writeOtherPicture(*file, conversion.output, *type, wanted.depth, budget);
    }
}

void checkOutputName(const std::string& fileName, const WantedResult& wanted)
{
    const auto extension = extensionOf(fileName);
    const bool isMediaFile = extension == "zeq";
    if (!isMediaFile && !findPictureType(extension))
        throw UsageError(fileName + ": files of this kind are not written; see --help");
    if (isMediaFile && wanted.depth)
        throw UsageError(
            "--depth is for other pictures; a media file's depth is that of its --format");
    if (!isMediaFile && wanted.format)
        throw UsageError("--format is for media files, which end in .zeq");
}

}
