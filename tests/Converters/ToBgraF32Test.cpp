#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/support/GuardedMemoryResource.h"
#include "tests/support/Reference.h"

#include <cstdint>
#include <memory>
#include <utility>

// The whole way of a media file's frame to float.
namespace MediaConversion {
namespace {

using Velmora::Formats::BGRA_F32;

void expectReferencePixels(std::unique_ptr<Velmora::IFrame> frame)
{
    const auto format = frame->format();
    const auto expected = referenceBgraF32(dynamic_cast<const Velmora::ImageFrame&>(*frame));
    const auto result = convert(std::move(frame), BGRA_F32());
    EXPECT_TRUE(result->format() == BGRA_F32()) << toString(result->format());
    const auto& image = dynamic_cast<const Velmora::FullFrame&>(*result).image();
    EXPECT_TRUE(sameBytes(expected, image)) << toString(format);
}

TEST(ToBgraF32, givesTheReferencesPixelsOnAnyNumberOfThreads)
{
    // Blocks that come back to the pool are dirty: what a converter does not write would show.
    const InstalledPool pool;
    for (const auto& [code, format] : mediaFormatCodes())
        for (const int threads : {0, 1, 2, 4, 64}) {
            cv::setNumThreads(threads);
            expectReferencePixels(
                frameOver(format, randomMatrix(format, 36, 60, std::uint64_t(threads) + 1)));
        }
    cv::setNumThreads(-1);
}

TEST(ToBgraF32, readsAndConvertsFilesInsideTheirBlocks)
{
    insideGuardedBlocks([] {
        for (const auto& [code, format] : mediaFormatCodes())
            for (unsigned groups = 1; groups <= 70; ++groups) {
                const auto& packing = format.pixelPacking;
                const auto width = std::uint16_t(groups * packing.columnsPerGroup);
                const auto height = std::uint16_t((1 + groups % 3) * packing.rowsPerGroup);
                MediaFileTests::FakeFile file;
                MediaFileTests::FakeFileFactory streams(file);
                const auto data = MediaFileTests::noise(frameDataSize(format, width, height));
                file.bytes = MediaFileBytes::picture(code, width, height, data).bytes();
                VelmoraMediaFileReader reader(streams);
                reader.open(L"name");
                expectReferencePixels(reader.readFrame());
            }
    });
}

}
}
