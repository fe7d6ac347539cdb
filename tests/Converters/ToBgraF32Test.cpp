#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/GuardedMemoryResource.h"
#include "tests/support/MediaFileBytes.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

namespace MediaConversion {
namespace {

// The whole way of a media file's frame to float, on several numbers of threads.
TEST(ToBgraF32, givesTheReferencesPixelsInsideItsBlocks)
{
    const auto name = testing::TempDir() + std::to_string(::getpid()) + ".zeq";
    const std::array threadCounts{0, 1, 2, 4, 64};
    insideGuardedBlocks([&] {
        for (const auto& [code, format] : mediaFormatCodes())
            for (int groups = 1; groups <= 70; ++groups) {
                cv::setNumThreads(threadCounts[groups % threadCounts.size()]);
                const auto stored = randomMatrix(format, groups % 9 ? 1 + groups % 3 : 36, groups);
                const auto frame = frameOver(format, stored);
                const std::string data(stored.datastart, stored.dataend);
                writeFile(name, MediaFileBytes::picture(code, std::uint16_t(frame->width()),
                                                        std::uint16_t(frame->height()), data)
                                    .bytes());
                const auto result = convert(readMediaFile(name), Velmora::Formats::BGRA_F32());
                EXPECT_EQ(result->format(), Velmora::Formats::BGRA_F32());
                EXPECT_TRUE(sameBytes(referenceBgraF32(*frame), result->image()))
                    << toString(format);
            }
    });
    cv::setNumThreads(-1);
    std::filesystem::remove(name);
}

}
}
