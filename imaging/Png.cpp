#include "imaging/Png.h"

#include "imaging/Samples.h"

#include <png.h>
#include <opencv2/core.hpp>

#include <stdexcept>

namespace Imaging {

std::vector<std::byte> encodedPng(const Picture& picture)
{
    const auto pixels = whole(picture);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.cols);
    image.height = static_cast<png_uint_32>(pixels.rows);
    image.format = picture.hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;

    const int samplesPerRow =
        pixels.cols * static_cast<int>(PNG_IMAGE_SAMPLE_CHANNELS(image.format));
    std::vector<float> floats(static_cast<std::size_t>(samplesPerRow));
    std::vector<std::byte> samples(PNG_IMAGE_SIZE(image));
    for (int row = 0; row < pixels.rows; ++row) {
        toChannels(pixels.ptr<cv::Vec4f>(row), pixels.cols, picture.hasAlpha, floats.data());
        toSamples(floats.data(), samplesPerRow, SampleDepth::U8,
                  &samples[static_cast<std::size_t>(row) * floats.size()]);
    }

    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::byte> file(size);
    if (!png_image_write_to_memory(&image, file.data(), &size, 0, samples.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    file.resize(size);
    return file;
}

}
