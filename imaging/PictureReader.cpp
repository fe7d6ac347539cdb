#include "imaging/PictureReader.h"

#include "imaging/ChannelNames.h"
#include "imaging/Colours.h"
#include "imaging/OpenImageIo.h"
#include "imaging/PictureLimits.h"
#include "imaging/Samples.h"

#include <OpenImageIO/imageio.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <set>
#include <vector>

namespace Imaging {

namespace {

[[noreturn]] void failToRead(const std::string& text)
{
    failWith(text, "Cannot be read");
}

// How the samples of a file are read.
struct SampleType
{
    OIIO::TypeDesc type;
    int depth;  // of OpenCV
};

// As they are stored, where that is one of these types for all channels, otherwise as floats.
SampleType sampleTypeFor(const OIIO::ImageSpec& description, const std::vector<int>& channels)
{
    // clang-format off
    static const SampleType known[] = {
        {OIIO::TypeDesc::UINT8,  CV_8U },
        {OIIO::TypeDesc::UINT16, CV_16U},
        {OIIO::TypeDesc::HALF,   CV_16F},
    };
    // clang-format on
    for (const auto& each : known)
        if (std::ranges::all_of(channels, [&](int channel) {
                return description.channelformat(channel) == each.type;
            }))
            return each;
    return {OIIO::TypeDesc::FLOAT, CV_32F};
}

// Channels that are read at once.
struct ChannelRange
{
    int begin;
    int end;

    int count() const { return end - begin; }
    bool contains(int channel) const { return begin <= channel && channel < end; }
};

// Channels that lie apart are read one by one.
std::vector<ChannelRange> rangesFor(const std::vector<int>& channels)
{
    const auto [first, last] = std::ranges::minmax(channels);
    if (last - first < 4)
        return {{first, last + 1}};
    std::vector<ChannelRange> ranges;
    for (const int channel : std::set(channels.begin(), channels.end()))
        ranges.push_back({channel, channel + 1});
    return ranges;
}

// Some rows of a file. For each range of channels there are all its rows.
class Band
{
public:
    Band(const std::vector<ChannelRange>& ranges, const SampleType& type, int width, int height)
        : m_ranges(ranges), m_type(type), m_width(width), m_samples(ranges.size())
    {
        for (std::size_t index = 0; index < ranges.size(); ++index)
            m_samples[index].resize(rowSize(ranges[index]) * static_cast<std::size_t>(height));
    }

    std::byte* samples(std::size_t range) { return m_samples[range].data(); }

    // Rows as floats, one at a time.
    class Floats
    {
    public:
        Floats(const Band& band, const std::vector<int>& channels) : m_band(band)
        {
            for (const auto& range : band.m_ranges)
                m_floats.emplace_back(static_cast<std::size_t>(band.m_width * range.count()));
            for (const int channel : channels)
                m_channels.push_back(floatsOf(channel));
        }

        const std::vector<ChannelFloats>& row(int row)
        {
            for (std::size_t index = 0; index < m_floats.size(); ++index) {
                const auto rowSize = m_band.rowSize(m_band.m_ranges[index]);
                toFloats(m_band.m_samples[index].data() + rowSize * static_cast<std::size_t>(row),
                         static_cast<int>(m_floats[index].size()), m_band.m_type.depth,
                         m_floats[index].data());
            }
            return m_channels;
        }

    private:
        ChannelFloats floatsOf(int channel) const
        {
            for (std::size_t index = 0;; ++index)
                if (const auto& range = m_band.m_ranges[index]; range.contains(channel))
                    return {m_floats[index].data() + channel - range.begin, range.count()};
        }

        const Band& m_band;
        std::vector<std::vector<float>> m_floats;
        std::vector<ChannelFloats> m_channels;
    };

private:
    std::size_t rowSize(const ChannelRange& range) const
    {
        return static_cast<std::size_t>(m_width * range.count()) * m_type.type.size();
    }

    const std::vector<ChannelRange>& m_ranges;
    const SampleType m_type;
    const int m_width;
    std::vector<std::vector<std::byte>> m_samples;
};

void limitHighlights(cv::Vec4f* pixels, int count)
{
    for (auto* pixel = pixels; pixel != pixels + count; ++pixel)
        for (auto& value : pixel->val)
            value = value > 1 ? 1 : value;
}

SampleDepth depthOf(const OIIO::ImageSpec& description, const OIIO::TypeDesc& sampleType)
{
    const int bits = description.get_int_attribute("oiio:BitsPerSample");
    if (sampleType == OIIO::TypeDesc::UINT8)
        return SampleDepth::U8;
    if (sampleType == OIIO::TypeDesc::UINT16)
        return bits == 10 ? SampleDepth::U10 : bits == 12 ? SampleDepth::U12 : SampleDepth::U16;
    return sampleType == OIIO::TypeDesc::HALF ? SampleDepth::F16 : SampleDepth::F32;
}

std::uint64_t sizeOf(const std::string& fileName)
{
    std::error_code error;
    const auto status = std::filesystem::status(fileName, error);
    if (status.type() == std::filesystem::file_type::not_found)
        failToRead("No such file");
    if (!error && !std::filesystem::is_regular_file(status))
        failToRead("Not a regular file");
    const auto size = error ? 0 : std::filesystem::file_size(fileName, error);
    if (error)
        failToRead(error.message());
    return size;
}

// A tile is read as a whole, however much of it lies beyond the picture.
void checkClaim(const OIIO::ImageSpec& description, std::uint64_t fileSize)
{
    const auto pixels = std::max(description.image_pixels(), description.tile_pixels());
    const auto byteCount = std::max(description.image_bytes(true), description.tile_bytes(true));
    if (!mayBeHeld(pixels, byteCount, fileSize))
        failToRead("claims " + std::to_string(description.width) + " x " +
                   std::to_string(description.height) + " pixels, too many for a file of " +
                   std::to_string(fileSize) + " bytes");
}

class PictureFile final : public IPictureFile
{
public:
    PictureFile(const std::string& fileName, const ReadingOptions& options) : m_options(options)
    {
        const auto fileSize = sizeOf(fileName);
        OIIO::ImageSpec asStored;
        asStored["oiio:UnassociatedAlpha"] = 1;
        m_input = OIIO::ImageInput::open(fileName, &asStored);
        if (!m_input)
            failToRead(OIIO::geterror());
        findLayer();
        const auto& description = m_input->spec();
        const auto places = channelPlaces(channelNames(), layerInPart());
        m_channels = {places.blue, places.green, places.red};
        if (places.hasAlpha())
            m_channels.push_back(places.alpha);
        m_ranges = rangesFor(m_channels);
        m_sampleType = sampleTypeFor(description, m_channels);
        if (description.depth > 1 || description.deep)
            failToRead("is a volume or has deep samples; flat pictures can be read");
        checkClaim(description, fileSize);
        m_turn = Turn(description.get_int_attribute("Orientation", 1));
        const auto floatByteCount = description.image_pixels() * sizeof(cv::Vec4f);
        m_facts = {.size = m_turn.applied(window().size()),
                   .stored = m_turn.applied(data().size()),
                   .depth = depthOf(description, description.channelformat(places.red)),
                   .hasAlpha = places.hasAlpha(),
                   .isExr = isExr(),
                   .leftOut = places.leftOut,
                   .byteCount =
                       description.image_bytes(true) + (m_turn.isNone() ? 1 : 2) * floatByteCount};
    }

    const PictureFacts& facts() const override { return m_facts; }

    Picture read(Highlights highlights) override
    {
        cv::Mat pixels(data().size(), CV_32FC4);
        const int largestBand = std::min(bandHeight(rowsPerUnit()), pixels.rows);
        Band band(m_ranges, m_sampleType, pixels.cols, largestBand);
        forEachBand(pixels.rows, largestBand, [&](int first, int end) {
            if (!readRows(band, first, end))
                failToRead(m_input->geterror());
            cv::parallel_for_(cv::Range(first, end), [&](const cv::Range& rows) {
                Band::Floats floats(band, m_channels);
                for (int row = rows.start; row < rows.end; ++row) {
                    toPixels(floats.row(row - first), pixels.cols, pixels.ptr<cv::Vec4f>(row));
                    finishRow(pixels.ptr<cv::Vec4f>(row), row, highlights);
                }
            });
        });
        const Picture picture{pixels, cv::Point2l(data().tl()) - cv::Point2l(window().tl()),
                              window().size(), m_facts.depth, m_facts.hasAlpha};
        return m_turn.isNone() ? picture : turned(picture, m_turn);
    }

    void checkEnds() override
    {
        const int height = data().height;
        const int rows = std::min(rowsPerUnit(), height);
        // Strips and tiles begin at multiples of their height.
        const int last = (height - 1) / rows * rows;
        Band band(m_ranges, m_sampleType, data().width, rows);
        if (!readRows(band, 0, rows) || !readRows(band, last, height))
            failToRead(m_input->geterror());
    }

    const OutsideValues& outside() const override { return m_outside; }

private:
    bool isExr() const { return m_input->format_name() == std::string("openexr"); }

    // Goes to the part of an EXR file that has the layer, or bears its name; stays otherwise.
    void findLayer()
    {
        if (m_options.layer.empty() || !isExr())
            return;
        for (int part = 0; m_input->seek_subimage(part, 0); ++part)
            if (isPartOfLayer() || hasLayer(m_input->spec().channelnames, m_options.layer))
                return;
        m_input->geterror();
        m_input->seek_subimage(0, 0);
    }

    // Files other than EXR have names by what they are; OpenImageIO gives those of a grey and its
    // alpha in a TGA or SGI file the first that it has.
    std::vector<std::string> channelNames() const
    {
        const auto& names = m_input->spec().channelnames;
        const bool isGreyWithAlpha = !isExr() && names == std::vector<std::string>{"R", "G"};
        return isGreyWithAlpha ? std::vector<std::string>{"Y", "A"} : names;
    }

    bool isPartOfLayer() const
    {
        const auto& description = m_input->spec();
        return description.get_string_attribute("oiio:subimagename") == m_options.layer;
    }

    // The names of channels in a part that is the layer need no name in front.
    std::string layerInPart() const
    {
        const auto& names = m_input->spec().channelnames;
        return isPartOfLayer() && !hasLayer(names, m_options.layer) ? "" : m_options.layer;
    }

    // Whole numbers are never outside, but may be transparent. What is not shown does not count.
    void countOutside(const cv::Vec4f* pixels, int row)
    {
        const auto stored = data();
        const auto shown = stored & window();
        const bool isShown = shown.y <= stored.y + row && stored.y + row < shown.br().y;
        const bool isInside = !factsOf(m_facts.depth).isFloat && m_options.factor == 1;
        if (!isShown || (isInside && !m_facts.hasAlpha))
            return;
        OutsideValues outside;
        outside.add(pixels + (shown.x - stored.x), shown.width);
        const std::lock_guard lock(m_outsideMutex);
        m_outside.add(outside);
    }

    cv::Rect data() const
    {
        const auto& description = m_input->spec();
        return {description.x, description.y, description.width, description.height};
    }

    // Files without a window of their own show all that they hold.
    cv::Rect window() const
    {
        const auto& description = m_input->spec();
        const cv::Rect full(description.full_x, description.full_y, description.full_width,
                            description.full_height);
        return full.empty() ? data() : full;
    }

    int rowsPerUnit() const
    {
        const auto& description = m_input->spec();
        const int rows = description.tile_width
                             ? description.tile_height
                             : description.get_int_attribute("tiff:RowsPerStrip", 1);
        return std::max(1, std::min(rows, description.height));
    }

    bool readRows(Band& band, int first, int end) const
    {
        const auto& description = m_input->spec();
        const int firstRow = description.y + first;
        const int endRow = description.y + end;
        const int part = m_input->current_subimage();
        for (std::size_t index = 0; index < m_ranges.size(); ++index) {
            const auto& range = m_ranges[index];
            auto* const samples = band.samples(index);
            const bool isRead =
                description.tile_width
                    ? m_input->read_tiles(part, 0, description.x, description.x + description.width,
                                          firstRow, endRow, description.z, description.z + 1,
                                          range.begin, range.end, m_sampleType.type, samples)
                    : m_input->read_scanlines(part, 0, firstRow, endRow, description.z, range.begin,
                                              range.end, m_sampleType.type, samples);
            if (!isRead)
                return false;
        }
        return true;
    }

    void finishRow(cv::Vec4f* pixels, int row, Highlights highlights)
    {
        const int count = data().width;
        if (m_options.factor != 1)
            scaleColours(pixels, count, m_options.factor);
        if (m_options.isPremultiplied && m_facts.isExr && m_facts.hasAlpha)
            divideByAlpha(pixels, count);
        countOutside(pixels, row);
        if (highlights == Highlights::limited)
            limitHighlights(pixels, count);
    }

    std::unique_ptr<OIIO::ImageInput> m_input;
    const ReadingOptions m_options;
    PictureFacts m_facts;
    std::vector<int> m_channels;  // blue, green, red and perhaps alpha
    std::vector<ChannelRange> m_ranges;
    SampleType m_sampleType;
    Turn m_turn{1};
    OutsideValues m_outside;
    std::mutex m_outsideMutex;
};

}

std::unique_ptr<IPictureFile> openPicture(const std::string& fileName,
                                          const ReadingOptions& options)
{
    return std::make_unique<PictureFile>(fileName, options);
}

}
