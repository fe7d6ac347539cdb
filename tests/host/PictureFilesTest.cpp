#include "imaging/PictureFiles.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <vector>

using namespace testing;

namespace {

// 2 x 2: half transparent, wholly transparent with a colour, beyond both ends, a grey between.
const std::vector<float> pixels = {0.2f, 0.4f, 0.6f, 0.5f, 1.0f, 0.0f, 0.8f, 0.0f,
                                   1.5f, -1.f, 1.0f, 1.0f, 0.1f, 0.1f, 0.1f, 0.2f};

class PictureFiles : public Test
{
protected:
    template <class Sample>
    std::vector<Sample> readBack(OIIO::TypeDesc type)
    {
        OIIO::ImageSpec asStored;
        asStored["oiio:UnassociatedAlpha"] = 1;
        const auto input = OIIO::ImageInput::open(m_path.string(), &asStored);
        if (!input || input->spec().format != type || input->spec().nchannels != 4)
            return {};
        std::vector<Sample> samples(pixels.size());
        input->read_image(0, 0, 0, 4, type, samples.data());
        return samples;
    }

    void TearDown() override { std::filesystem::remove(m_path); }

    std::filesystem::path m_path;
};

}

TEST_F(PictureFiles, of8BitsAre8BitPngsWithTheSamplesAsTheyAre)
{
    m_path = std::filesystem::path(TempDir()) / "PictureFilesTest8.png";
    writePng({2, 2, 8, pixels}, m_path);
    EXPECT_THAT(readBack<unsigned char>(OIIO::TypeDesc::UINT8),
                ElementsAre(51, 102, 153, 128, 255, 0, 204, 0, 255, 0, 255, 255, 26, 26, 26, 51));
}

TEST_F(PictureFiles, ofMoreBitsAre16BitPngs)
{
    m_path = std::filesystem::path(TempDir()) / "PictureFilesTest16.png";
    for (const int depth : {10, 12}) {
        writePng({2, 2, depth, pixels}, m_path);
        EXPECT_THAT(readBack<unsigned short>(OIIO::TypeDesc::UINT16),
                    ElementsAre(13107, 26214, 39321, 32768, 65535, 0, 52428, 0, 65535, 0, 65535,
                                65535, 6554, 6554, 6554, 13107));
    }
}

TEST_F(PictureFiles, ofFloatSamplesLoseNothing)
{
    m_path = std::filesystem::path(TempDir()) / "PictureFilesTest.exr";
    writeExr({2, 2, 8, pixels}, m_path);
    EXPECT_EQ(readBack<float>(OIIO::TypeDesc::FLOAT), pixels);
}

TEST_F(PictureFiles, thatCannotBeWrittenAreReported)
{
    EXPECT_THROW(writePng({2, 2, 8, pixels}, "/nowhere/picture.png"), std::runtime_error);
    EXPECT_THROW(writePng({0, 0, 8, {}}, std::filesystem::path(TempDir()) / "empty.png"),
                 std::runtime_error);
}
