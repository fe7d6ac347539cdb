#pragma once

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

// A host that reads and writes through OpenImageIO, and a folder for its files. OpenImageIO finds
// the plug-in by itself.
class ImageIoTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("OIIO_LIBRARY_PATH", PLUG_IN_FOLDER, 1);
        Velmora::installMemoryPool();  // of the test itself
    }
    static void TearDownTestSuite() { Velmora::ImageFrame::setMemoryPool(nullptr); }

    // A picture of noise, of which every sample's bits are all in use.
    static MediaFileBytes noise(std::uint32_t code, std::uint16_t width, std::uint16_t height)
    {
        std::string data(MediaConversion::frameDataSize(
                             MediaConversion::mediaFormatCodes().at(code), width, height),
                         '\0');
        std::ranges::generate(data, std::mt19937(code));
        return MediaFileBytes::picture(code, width, height, data);
    }

    std::string write(const MediaFileBytes& file, const std::string& name = "picture.zeq") const
    {
        writeFile(folder.file(name), file.bytes());
        return folder.file(name);
    }

    static std::unique_ptr<OIIO::ImageInput> open(const std::string& fileName)
    {
        auto input = OIIO::ImageInput::open(fileName);
        EXPECT_TRUE(input) << OIIO::geterror();
        return input;
    }

    template <class Sample>
    static std::vector<Sample> samplesOf(OIIO::ImageInput& input, int firstChannel = 0,
                                         int endChannel = -1)
    {
        const auto& description = input.spec();
        const int channels = (endChannel < 0 ? description.nchannels : endChannel) - firstChannel;
        std::vector<Sample> samples(description.image_pixels() * channels);
        EXPECT_TRUE(input.read_image(0, 0, firstChannel, endChannel,
                                     OIIO::BaseTypeFromC<Sample>::value, samples.data()))
            << input.geterror();
        return samples;
    }

    // What the host's reader shows, as channels from red to blue or alpha.
    static std::vector<float> hostSamples(const std::string& fileName, int channels)
    {
        const auto frame = MediaConversion::convert(MediaConversion::readMediaFile(fileName),
                                                    Velmora::Formats::BGRA_F32());
        std::vector<float> samples;
        for (int row = 0; row < frame->image().rows; ++row)
            for (int column = 0; column < frame->image().cols; ++column)
                for (const int channel : {2, 1, 0, 3})
                    if (channel < 3 || channels == 4)
                        samples.push_back(frame->image().at<cv::Vec4f>(row, column)[channel]);
        return samples;
    }

    MediaConversion::MediaFileTests::TemporaryFolder folder;
};
