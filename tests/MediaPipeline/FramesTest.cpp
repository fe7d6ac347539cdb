#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/MediaPipeline/Fakes.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <memory>
#include <numeric>

namespace Velmora {
namespace {

using namespace Formats;

TEST(FrameFormat, isWrittenWithNumbersForWhatHasNoName)
{
    EXPECT_EQ(toString(FrameFormat{Colourspace{6}, ChannelType{4294967295}, {1, 2, 3, 4}, ""}),
              "(Unknown Colourspace 6)_(Unknown ChannelType 4294967295)_");
}

TEST(ImageFrame, sharesThePixelsOfItsMatrix)
{
    const cv::Mat image(2, 3, CV_8UC4);
    const FullFrame frame(BGRA_U8(), image);
    EXPECT_EQ(frame.image().data, image.data);
    EXPECT_EQ(image.u->refcount, 2);
    expectError("ImageFrame does not contain any raw data", [&] { frame.rawFrameData(); });
}

TEST(ImageFrame, flipsIntoAMatrixOfItsOwn)
{
    for (const int rows : {1, 2, 3, 6}) {
        cv::Mat whole(8, 7, CV_8UC(9));
        std::iota(whole.data, whole.data + 8 * 7 * 9, uchar{0});
        const cv::Mat image = whole(cv::Rect(1, 1, 5, rows));
        const cv::Mat before = image.clone();
        const PackedFrame frame(RGB_SMPTE_2110(), image, true);
        EXPECT_EQ(cv::norm(before, image), 0);
        for (int row = 0; row < rows; ++row)
            EXPECT_EQ(cv::norm(before.row(row), frame.image().row(rows - 1 - row)), 0);
    }
}

void expectRefusal(const CvTypes& table, const FrameFormat& format, int type, const char* text)
{
    for (const bool flip : {false, true})
        expectError(text, [&] { ImageFrame(table, format, cv::Mat(2, 2, type), flip); });
}

// From two faults on, the message is that of the first: format, matrix type, element size.
TEST(ImageFrame, refusesMatricesThatDoNotFitItsFormat)
{
    auto tooLong = RGB_U8();
    tooLong.pixelPacking.bytesPerGroup = 5;
    const CvTypes wrong{{tooLong, CV_8UC3}};
    // clang-format off
    expectRefusal(PackedFormatCvTypes(), BGRA_U8(), CV_8UC3,   "OpenCV type not defined for frame format RGBA_U8_BGRA");
    expectRefusal(FullFormatCvTypes(),   RGB_U10(), CV_16SC3, "Frame format RGB_U10_RGB needs OpenCV type 18 and is incompatible with supplied image of type 19");
    expectRefusal(wrong,                 tooLong,   CV_8UC4,  "Frame format RGB_U8_RGB needs OpenCV type 16 and is incompatible with supplied image of type 24");
    expectRefusal(wrong,                 tooLong,   CV_8UC3,  "Frame pixel packing of 5 bytes is incompatible with supplied image element size of 3");
    // clang-format on
}

void expectRefusal(const PixelPacking& packing, int cvType, int width, int height, const char* text)
{
    const FrameFormat format{Colourspace::YCoCg, ChannelType::U8, packing, "any"};
    expectError(text, [&] { packedMatrixShape(format, cvType, width, height); });
}

// From two faults on, the message is that of the first: columns, rows, bytes.
TEST(PackedMatrixShape, refusesPartialGroupsAndForeignElements)
{
    // clang-format off
    expectRefusal({5, 4, 2, 2}, 24, 1921, 1079, "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 1921");
    expectRefusal({5, 4, 4, 4}, 24, 4,    1079, "Frame format row pixel packing of 4 pixels is incompatible with supplied image rows of 1079");
    expectRefusal({5, 4, 1, 2}, 10, 4,    1,    "Mismatch in channel count between packing format (5) and underlying image matrix (2 bytes per channel, 2 channels)");
    // clang-format on
}

class FramesOverFileBytes : public testing::Test
{
protected:
    // Pixels behind a header of `offset` bytes.
    std::unique_ptr<RawFrameData> bytes(std::uint64_t pixelByteCount, std::uint64_t offset)
    {
        auto buffer = std::make_unique<PooledBuffer>(m_pool, offset + pixelByteCount);
        return std::make_unique<RawFrameData>(std::move(buffer), offset);
    }

    // A frame of that kind that lies over the bytes and keeps them as long as it lives.
    template <class Frame>
    void expectFrameOverBytes(const FrameFormat& format, int width, int height, cv::Size groups)
    {
        const auto groupBytes = format.pixelPacking.bytesPerGroup;
        auto raw = bytes(static_cast<std::uint64_t>(groups.area()) * groupBytes, 28);
        const auto* const pixels = raw->pixels();
        {
            const Frame frame(format, width, height, std::move(raw));
            EXPECT_EQ(frame.image().data, reinterpret_cast<const uchar*>(pixels));
            EXPECT_EQ(frame.image().size(), groups);
            EXPECT_EQ(frame.width(), width);
            EXPECT_EQ(frame.height(), height);
            EXPECT_EQ(frame.rawFrameData().pixels(), pixels);
            EXPECT_NE(m_pool->acquire(1)->data() + 28, pixels);  // still lent
        }
        EXPECT_EQ(m_pool->acquire(1)->data() + 28, pixels);  // came back
    }

    // Refused with the same text by the frame, which returns the bytes, and by the check.
    template <class Frame>
    void expectRefusal(const FrameFormat& format, int width, int height, std::uint64_t byteCount,
                       const char* text)
    {
        auto raw = bytes(byteCount, 0);
        const auto* const block = raw->pixels();
        expectError(text, [&] { Frame(format, width, height, std::move(raw)); });
        EXPECT_EQ(m_pool->acquire(byteCount)->data(), block);
        expectError(text, [&] { Frame::checkByteCount(format, width, height, byteCount); });
    }

    std::shared_ptr<IMemoryPool> m_pool = newPool();
};

TEST_F(FramesOverFileBytes, lieOverTheBytesAndKeepThem)
{
    expectFrameOverBytes<FullFrame>(BGRA_U16(), 4, 3, {4, 3});
    expectFrameOverBytes<PackedFrame>(ZEQ_420(), 6, 4, {3, 2});
    expectFrameOverBytes<FullFrame>(BGRA_U8(), 0, 0, {0, 0});
    expectFrameOverBytes<PackedFrame>(ZEQ_420(), 1920, 0, {960, 0});
}

// Where there are two faults, the message is that of the first: format, columns, rows, byte count.
TEST_F(FramesOverFileBytes, areRefusedForAnotherSize)
{
    // clang-format off
    expectRefusal<FullFrame>(BGRA_U8(), 3, 2, 25, "Expecting input data byte count 24, got 25");
    expectRefusal<FullFrame>(BGRA_U8(), 32768, 32768, 0, "Expecting input data byte count 4294967296, got 0");
    expectRefusal<FullFrame>(ZEQ_420(), 4, 4, 24, "OpenCV type not defined for frame format YCbCr_ITU_T871_U8_ZEQ-420");
    expectRefusal<PackedFrame>(ZEQ_420(), 1920, 1080, 1, "Expecting input byte count 3110400 (540x960x6 matrix), got 1 bytes");
    expectRefusal<PackedFrame>(RGB_DPX_FILLED(), 3, 2, 25, "Expecting input byte count 24 (2x3x4 matrix), got 25 bytes");
    expectRefusal<PackedFrame>(RGB_DPX_FILLED(), 32768, 32768, 0, "Expecting input byte count 4294967296 (32768x32768x4 matrix), got 0 bytes");
    expectRefusal<PackedFrame>(ZEQ_420(), 4, 3, 6, "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of 3");
    expectRefusal<PackedFrame>(BGRA_U8(), 3, 2, 24, "OpenCV type not defined for frame format RGBA_U8_BGRA");
    // clang-format on
    expectError("no rawFrameData", [] { FullFrame(BGRA_U8(), 3, 2, nullptr); });
    expectError("no rawFrameData", [] { PackedFrame(ZEQ_420(), 3, 3, nullptr); });
}

}
}
