#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "fuzz/Fuzzing.h"
#include "host/headless/HostedReader.h"
#include "tests/support/MediaFileBytes.h"
#include "tests/support/Reference.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

using namespace Headless;

using namespace DD::Image;
using namespace MediaConversion;

// A file in the host, by the plug-in's own reader: opens of a file that changes in between, and
// rows of all places.

// Two columns on either side are not asked for.
static void requireRow(Reader& reader, int y, int x, int r, const cv::Mat& picture)
{
    constexpr Channel bgra[] = {Chan_Blue, Chan_Green, Chan_Red, Chan_Alpha};
    constexpr float untouched = -7;
    Row row(x - 2, std::max(x, r) + 2);
    for (const auto channel : bgra)
        std::fill(row.writable(channel) + row.x(), row.writable(channel) + row.r(), untouched);
    reader.engine(y, x, r, Mask_RGBA, row);
    const auto stored = static_cast<int>(std::int64_t{reader.height()} - 1 - y);
    for (int column = row.x(); column < row.r(); ++column) {
        auto pixel = cv::Vec4f::all(x <= column && column < r ? 0 : untouched);
        if (pixel[0] == 0 && cv::Rect({}, picture.size()).contains({column, stored}))
            pixel = picture.at<cv::Vec4f>(stored, column);
        for (int k = 0; k < 4; ++k)
            require(row[bgra[k]][column] == (picture.empty() ? untouched : pixel[k]));
    }
}

void fuzz(FuzzedDataProvider& input)
{
    static const int descriptor = ::memfd_create("picture", 0);
    static const auto name = "/proc/self/fd/" + std::to_string(descriptor);
    auto bytes = fileIn(input);
    writeFile(name, bytes);
    FileStreamFactory streams;
    VelmoraMediaFileReader file(streams);
    auto format = Velmora::Formats::BGRA_F32();
    auto failure = failureOf([&] {
        file.open(wideFileName(name));
        format = mediaFormatCodes().at(file.mediaHeader().mediaFormatCode);
    });
    std::optional<HostedReader> host(std::in_place, *Reader::Description::find("zeq"), name);
    const bool isConstructed = failure.empty();
    require(isConstructed == host->takeMessages().empty());
    cv::Mat picture;
    while (input.remaining_bytes() > 0) {
        failure.clear();
        const int action = input.ConsumeIntegralInRange(0, 5);
        if (action == 0 && !bytes.empty()) {
            const auto at = input.ConsumeIntegral<std::uint8_t>() % bytes.size();
            bytes[at] = input.ConsumeIntegral<char>();
            bytes.resize(bytes.size() - at / 32);
            writeFile(name, bytes);
        } else if (action < 3) {
            failure = failureOf([&] {
                file.open(wideFileName(name));
                const auto frame = file.readFrame();
                // A construction that failed has connected nothing, and the file does not mend it.
                if (!isConstructed)
                    fail("No frameSink connected");
                const auto& imageFrame = dynamic_cast<const Velmora::ImageFrame&>(*frame);
                if (frame->format() != format)
                    fail("input format must be ", format);
                if (imageFrame.image().empty())
                    fail("no image data in frame");
                picture = referenceOfChain(imageFrame, Velmora::Formats::BGRA_F32());
            });
            host->open();
        } else {
            const int y = input.ConsumeIntegral<int>() >> input.PickValueInArray({0, 24, 28});
            const int x = input.ConsumeIntegral<int>() >> input.PickValueInArray({8, 24, 28});
            requireRow(host->reader(), y, x, x + input.ConsumeIntegralInRange(-3, 40), picture);
            failure = picture.empty() ? "No input frame!" : "";
        }
        const auto messages = host->takeMessages();
        requireText(failure, messages.empty() ? "" : messages.front());
    }
    host.reset();
    picture.release();
    requireNothingLent(*Velmora::ImageFrame::memoryPool());
}
