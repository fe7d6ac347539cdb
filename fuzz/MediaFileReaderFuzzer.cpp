#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "fuzz/Fuzzing.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/support/Pools.h"

#include <algorithm>
#include <memory>
#include <string>

using namespace MediaConversion;

const std::string notOpen = "Media header not available, check the file is open";
const std::string unknownCode = "Frame reading is not supported for media header format 0x";
// clang-format off
const std::string otherFailures[] = {"Media file is corrupt", "Media file has unexpectedly reached End-Of-File",
                                     "Frame format ", "Expecting input ", "Not built with OpenGL support"};
// clang-format on

// A media file in memory, read by each of the methods.
void fuzz(FuzzedDataProvider& input)
{
    MediaFileTests::FakeFile file{.bytes = fileIn(input)};
    file.sizeInInfo = file.bytes.size();
    file.unit = input.PickValueInArray({1, 16, 512, 4096});
    MediaFileTests::FakeFileFactory factory(file);
    VelmoraMediaFileReader reader(factory);
    reader.setReadMethod(input.ConsumeBool(), input.ConsumeBool());
    const InstalledPool installed;
    MediaHeader header;
    FrameHeader size;
    std::unique_ptr<Velmora::IFrame> frame;
    const auto failure = failureOf([&] {
        reader.open(L"name");
        header = reader.mediaHeader();
        size = reader.frameHeader();
        frame = reader.readFrame();
    });
    const bool isUnknown = failure.starts_with(unknownCode);
    requireText(isUnknown ? failure : notOpen, failureOf([&] { reader.readFrame(); }));
    if (const auto* const read = dynamic_cast<Velmora::ImageFrame*>(frame.get())) {
        const auto& image = read->image();
        const std::string pixels(image.datastart,
                                 image.datastart + image.total() * image.elemSize());
        require(file.bytes.substr(header.headerRevision > 1 ? 48 : 28).starts_with(pixels));
        require(read->format() == mediaFormatCodes().at(header.mediaFormatCode));
        require(read->width() == size.frameWidth && read->height() == size.frameHeight);
    } else {
        const auto isText = [&](const auto& text) { return failure.starts_with(text); };
        require(isUnknown || std::ranges::any_of(otherFailures, isText));
    }
    frame.reset();
    requireNothingLent(*installed.pool());
}
