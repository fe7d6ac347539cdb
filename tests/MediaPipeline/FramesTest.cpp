#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

namespace Velmora {
namespace {

using namespace Formats;

// A matrix of elements of `channels` bytes; each byte tells its row and its place in the row.
cv::Mat numbered(int rows, int columns, int channels)
{
    cv::Mat image(rows, columns, CV_8UC(channels));
    for (int row = 0; row < rows; ++row)
        for (int byte = 0; byte < columns * channels; ++byte)
            image.ptr(row)[byte] = static_cast<uchar>(row * 50 + byte);
    return image;
}

TEST(ImageFrame, sharesThePixelsOfItsMatrix)
{
    cv::Mat image = numbered(2, 3, 4);
    const uchar* const pixels = image.data;
    const FullFrame frame(BGRA_U8(), image);
    EXPECT_EQ(frame.image().data, pixels);
    image.ptr(1)[5] = 200;
    image.release();  // the frame's share keeps the pixels
    EXPECT_EQ(frame.image().ptr(1)[5], 200);
    EXPECT_EQ(frame.format(), BGRA_U8());
    EXPECT_EQ(frame.cvType(), 24);
    EXPECT_EQ(frame.width(), 3);
    EXPECT_EQ(frame.height(), 2);
}

TEST(ImageFrame, countsPixelsNotGroups)
{
    const PackedFrame frame(YCoCg_DXT5(), numbered(2, 3, 16));
    EXPECT_EQ(frame.cvType(), 120);
    EXPECT_EQ(frame.width(), 12);
    EXPECT_EQ(frame.height(), 8);
}

TEST(ImageFrame, flipsIntoAMatrixOfItsOwn)
{
    for (const int rows : {1, 2, 3, 6}) {
        const cv::Mat image = numbered(rows, 5, 9);
        const cv::Mat before = image.clone();
        const PackedFrame frame(RGB_SMPTE_2110(), image, true);
        EXPECT_NE(frame.image().data, image.data);
        ASSERT_EQ(frame.image().size(), image.size());
        for (int row = 0; row < rows; ++row) {
            EXPECT_TRUE(std::equal(image.ptr(row), image.ptr(row) + 45, before.ptr(row)));
            EXPECT_TRUE(
                std::equal(image.ptr(row), image.ptr(row) + 45, frame.image().ptr(rows - 1 - row)));
        }
    }
}

TEST(ImageFrame, flipsPartsOfMatricesAndFloats)
{
    cv::Mat image(4, 4, CV_32FC4);
    for (int row = 0; row < 4; ++row)
        image.row(row).setTo(cv::Scalar(row, row + 0.5, row, 1));
    const FullFrame frame(BGRA_F32(), image(cv::Rect(1, 1, 2, 3)), true);
    ASSERT_EQ(frame.image().size(), cv::Size(2, 3));
    EXPECT_EQ(frame.image().at<cv::Vec4f>(0, 1), cv::Vec4f(3, 3.5f, 3, 1));
    EXPECT_EQ(frame.image().at<cv::Vec4f>(1, 0), cv::Vec4f(2, 2.5f, 2, 1));
    EXPECT_EQ(frame.image().at<cv::Vec4f>(2, 1), cv::Vec4f(1, 1.5f, 1, 1));
}

// From two faults on, the message is that of the first: format, matrix type, element size.
TEST(ImageFrame, refusesMatricesThatDoNotFitItsFormat)
{
    auto tooLong = RGB_U8();
    tooLong.pixelPacking.bytesPerGroup = 5;
    const CvTypes wrongTable{{tooLong, CV_8UC3}};
    struct Case
    {
        const CvTypes& table;
        FrameFormat format;
        int type;
        const char* text;
    };
    const CvTypes& full = FullFormatCvTypes();
    const CvTypes& packed = PackedFormatCvTypes();
    // clang-format off
    const Case cases[] = {
        {packed,     BGRA_U8(), CV_8UC3,  "OpenCV type not defined for frame format RGBA_U8_BGRA"},
        {full,       ZEQ_422(), CV_8UC4,  "OpenCV type not defined for frame format YCbCr_ITU_T871_U10_ZEQ-422"},
        {full,       BGRA_U8(), CV_8UC3,  "Frame format RGBA_U8_BGRA needs OpenCV type 24 and is incompatible with supplied image of type 16"},
        {full,       RGB_U10(), CV_16SC3, "Frame format RGB_U10_RGB needs OpenCV type 18 and is incompatible with supplied image of type 19"},
        {packed,     YUYV_422(), CV_32SC1, "Frame format YCbCr_ITU_T871_U8_YUYV-422 needs OpenCV type 24 and is incompatible with supplied image of type 4"},
        {wrongTable, tooLong,   CV_8UC4,  "Frame format RGB_U8_RGB needs OpenCV type 16 and is incompatible with supplied image of type 24"},
        {wrongTable, tooLong,   CV_8UC3,  "Frame pixel packing of 5 bytes is incompatible with supplied image element size of 3"},
    };
    // clang-format on
    for (const auto& [table, format, type, text] : cases)
        for (const bool flip : {false, true})
            expectError<std::runtime_error>(
                text, [&, &types = table, &wanted = format, matrixType = type] {
                    ImageFrame(types, wanted, cv::Mat(2, 2, matrixType), flip);
                });
    expectError<std::runtime_error>(
        "Frame format RGBA_F32_BGRA needs OpenCV type 29 and is incompatible with supplied image "
        "of type 0",
        [] { FullFrame(BGRA_F32(), cv::Mat()); });
}

TEST(ImageFrame, hasNoRawDataWithoutAFile)
{
    const FullFrame frame(BGRA_U8(), cv::Mat(2, 2, CV_8UC4));
    expectError<std::runtime_error>("ImageFrame does not contain any raw data",
                                    [&] { frame.rawFrameData(); });
}

TEST(Frames, areMadeForTheSizeOfAnother)
{
    const PackedFrame packed(ZEQ_420(), 6, 4);
    EXPECT_EQ(packed.image().size(), cv::Size(3, 2));
    EXPECT_EQ(packed.image().type(), 40);

    const FullFrame full(packed, BGRA_U16());
    EXPECT_EQ(full.image().size(), cv::Size(6, 4));
    EXPECT_EQ(full.image().type(), 26);

    const PackedFrame again(full, RGB_DPX_PACKED());
    EXPECT_EQ(again.image().size(), cv::Size(3, 4));
    EXPECT_EQ(again.image().type(), 64);

    expectError<std::runtime_error>(
        "Frame format column pixel packing of 4 pixels is incompatible with supplied image columns "
        "of 6",
        [&] { PackedFrame(full, RGB_DXT1()); });
}

}
}
