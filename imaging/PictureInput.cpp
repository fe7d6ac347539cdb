#include "imaging/PictureInput.h"

#include "imaging/ChannelOrder.h"
#include "imaging/PictureLimits.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

struct PictureInput::File
{
    std::unique_ptr<OIIO::ImageInput> input;

    const OIIO::ImageSpec& description() const { return input->spec(); }
    cv::Rect data() const
    {
        return {description().x, description().y, description().width, description().height};
    }

    // Files without a window of their own show all that they hold.
    cv::Rect window() const
    {
        const cv::Rect full(description().full_x, description().full_y, description().full_width,
                            description().full_height);
        return full.empty() ? data() : full;
    }
};

namespace {

constexpr int largestChannelCount = 4;

SampleDepth depthOf(const OIIO::ImageSpec& description)
{
    const int bits = description.get_int_attribute("oiio:BitsPerSample");
    if (description.format == OIIO::TypeDesc::UINT8)
        return SampleDepth::U8;
    if (description.format == OIIO::TypeDesc::UINT16)
        return bits == 10 ? SampleDepth::U10 : bits == 12 ? SampleDepth::U12 : SampleDepth::U16;
    return description.format == OIIO::TypeDesc::HALF ? SampleDepth::F16 : SampleDepth::F32;
}

// OpenImageIO's texts may have several lines.
[[noreturn]] void fail(const std::string& text)
{
    const auto line = text.substr(0, text.find('\n'));
    throw std::runtime_error(line.empty() ? "Cannot be read" : line);
}

std::uint64_t sizeOf(const std::string& fileName)
{
    std::error_code error;
    const auto status = std::filesystem::status(fileName, error);
    if (status.type() == std::filesystem::file_type::not_found)
        fail("No such file");
    if (!error && !std::filesystem::is_regular_file(status))
        fail("Not a regular file");
    const auto size = error ? 0 : std::filesystem::file_size(fileName, error);
    if (error)
        fail(error.message());
    return size;
}

// A tile is read as a whole, however much of it lies beyond the picture.
void checkClaim(const OIIO::ImageSpec& description, std::uint64_t fileSize)
{
    const auto pixels = std::max(description.image_pixels(), description.tile_pixels());
    const auto byteCount = std::max(description.image_bytes(true), description.tile_bytes(true));
    if (!mayBeHeld(pixels, byteCount, fileSize))
        fail("claims " + std::to_string(description.width) + " x " +
             std::to_string(description.height) + " pixels, too many for a file of " +
             std::to_string(fileSize) + " bytes");
}

}

PictureInput::PictureInput(const std::string& fileName) : m_file(std::make_unique<File>())
{
    const auto fileSize = sizeOf(fileName);
    OIIO::ImageSpec asStored;
    asStored["oiio:UnassociatedAlpha"] = 1;
    m_file->input = OIIO::ImageInput::open(fileName, &asStored);
    if (!m_file->input)
        fail(OIIO::geterror());
    const auto& description = m_file->description();
    if (description.nchannels < 1 || description.nchannels > largestChannelCount)
        fail("has " + std::to_string(description.nchannels) +
             " channels; grey, grey with alpha, RGB and RGBA can be read");
    if (description.depth > 1 || description.deep)
        fail("is a volume or has deep samples; flat pictures can be read");
    checkClaim(description, fileSize);
    m_facts = {.size = m_file->window().size(),
               .stored = m_file->data().size(),
               .depth = depthOf(description),
               .hasAlpha = description.nchannels % 2 == 0,
               .byteCount =
                   description.image_bytes(true) + description.image_pixels() * sizeof(cv::Vec4f)};
}

PictureInput::~PictureInput() = default;

PartialPicture PictureInput::read()
{
    const auto data = m_file->data();
    const auto window = m_file->window();
    const int channels = m_file->description().nchannels;
    cv::Mat stored(data.size(), CV_32FC4);
    if (!m_file->input->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, stored.data,
                                   static_cast<OIIO::stride_t>(stored.elemSize()),
                                   static_cast<OIIO::stride_t>(stored.step[0])))
        fail(m_file->input->geterror());
    spreadToBgra(stored, channels);
    return {stored, cv::Point2l(data.tl()) - cv::Point2l(window.tl()), window.size()};
}
