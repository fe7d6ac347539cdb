#include "imaging/PictureInput.h"

#include "imaging/ChannelOrder.h"

#include <OpenImageIO/imageio.h>

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

}

PictureInput::PictureInput(const std::string& fileName) : m_file(std::make_unique<File>())
{
    if (!std::filesystem::is_regular_file(fileName))
        fail(std::filesystem::exists(fileName) ? "Not a regular file" : "No such file");
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
    const auto window = m_file->window();
    m_facts = {.width = window.width,
               .height = window.height,
               .depth = depthOf(description),
               .hasAlpha = description.nchannels % 2 == 0,
               .byteCount = description.image_bytes(true)};
    if (m_file->data() != window)
        m_facts.byteCount += description.image_pixels() * sizeof(cv::Vec4f);
}

PictureInput::~PictureInput() = default;

cv::Mat PictureInput::read()
{
    const auto data = m_file->data();
    const int channels = m_file->description().nchannels;
    cv::Mat stored(data.height, data.width, CV_32FC4);
    if (!m_file->input->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, stored.data,
                                   static_cast<OIIO::stride_t>(stored.elemSize()),
                                   static_cast<OIIO::stride_t>(stored.step[0])))
        fail(m_file->input->geterror());
    spreadToBgra(stored, channels);

    const auto window = m_file->window();
    if (data == window)
        return stored;
    cv::Mat picture = cv::Mat::zeros(window.height, window.width, CV_32FC4);
    const auto shown = data & window;
    if (!shown.empty())
        stored(shown - data.tl()).copyTo(picture(shown - window.tl()));
    return picture;
}
