#include "imaging/PictureFiles.h"

#include "imaging/ChannelNames.h"
#include "imaging/CheckedFile.h"
#include "imaging/Colours.h"
#include "imaging/PictureLimits.h"

#include <OpenImageIO/imageio.h>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Imaging {

namespace {

// OpenImageIO's texts may have several lines.
[[noreturn]] void fail(const std::string& text, const char* otherwise)
{
    const auto line = text.substr(0, text.find('\n'));
    throw std::runtime_error(line.empty() ? otherwise : line);
}

[[noreturn]] void failToRead(const std::string& text)
{
    fail(text, "Cannot be read");
}

[[noreturn]] void failToWrite(const std::string& text)
{
    fail(text, "Cannot be written");
}

// TIFF files have the highest strips of all that are written, of 32 rows, or 64 if asked for.
constexpr int rowsPerStrip = 64;

// How many rows are read or written at once: enough for all threads, and few enough to be in a
// cache still when their channels are put in order. Files come in strips or tiles of `unit` rows.
int bandHeight(int unit)
{
    const int wanted = std::max(64, 32 * cv::getNumThreads());
    return std::max(1, wanted / unit) * unit;
}

template <class Operation>
void forEachBand(int height, int largestBand, const Operation& operation)
{
    for (int first = 0, end = 0; first < height; first = end) {
        end = first + std::min(largestBand, height - first);
        operation(first, end);
    }
}

template <class Operation>
void forEachRow(int first, int end, const Operation& operation)
{
    cv::parallel_for_(cv::Range(first, end), [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row)
            operation(row);
    });
}

// Channels that are read at once, to be the floats of each pixel from `slot` on.
struct ChannelRange
{
    int begin;
    int end;
    int slot;
};

// Where the channels of a picture are in pixels of four floats.
struct ChannelSlots
{
    std::vector<ChannelRange> ranges;
    int red = 0;
    int green = 1;
    int blue = 2;
    int alpha = 3;
};

// Channels that lie apart are read one by one.
ChannelSlots slotsFor(const ChannelPlaces& places)
{
    std::vector<int> all = {places.red, places.green, places.blue};
    if (places.hasAlpha())
        all.push_back(places.alpha);
    const auto [first, last] = std::ranges::minmax(all);
    if (last - first < 4)
        return {{{first, last + 1, 0}},
                places.red - first,
                places.green - first,
                places.blue - first,
                places.alpha - first};
    ChannelSlots slots;
    for (int slot = 0; const int place : all)
        slots.ranges.push_back({place, place + 1, slot++});
    return slots;
}

// The pixels become BGRA.
template <bool hasAlpha>
void orderChannels(cv::Vec4f* pixels, int count, const ChannelSlots& slots)
{
    for (auto* pixel = pixels; pixel != pixels + count; ++pixel) {
        const auto& stored = *pixel;
        *pixel = cv::Vec4f(stored[slots.blue], stored[slots.green], stored[slots.red],
                           hasAlpha ? stored[slots.alpha] : 1);
    }
}

void limitHighlights(cv::Vec4f* pixels, int count)
{
    for (auto* pixel = pixels; pixel != pixels + count; ++pixel)
        for (auto& value : pixel->val)
            value = value > 1 ? 1 : value;
}

SampleDepth depthOf(const OIIO::ImageSpec& description, OIIO::TypeDesc sampleType)
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
        m_slots = slotsFor(places);
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
        const auto order = m_facts.hasAlpha ? orderChannels<true> : orderChannels<false>;
        cv::Mat pixels(data().size(), CV_32FC4);
        forEachBand(pixels.rows, bandHeight(rowsPerUnit()), [&](int first, int end) {
            if (!readRows(pixels, first, end))
                failToRead(m_input->geterror());
            forEachRow(first, end, [&](int row) {
                order(pixels.ptr<cv::Vec4f>(row), pixels.cols, m_slots);
                if (m_options.factor != 1)
                    scaleColours(pixels.ptr<cv::Vec4f>(row), pixels.cols, m_options.factor);
                if (m_options.isPremultiplied && m_facts.isExr && m_facts.hasAlpha)
                    divideByAlpha(pixels.ptr<cv::Vec4f>(row), pixels.cols);
                countOutside(pixels, row);
                if (highlights == Highlights::limited)
                    limitHighlights(pixels.ptr<cv::Vec4f>(row), pixels.cols);
            });
        });
        const Picture picture{pixels, cv::Point2l(data().tl()) - cv::Point2l(window().tl()),
                              window().size(), m_facts.depth, m_facts.hasAlpha};
        return m_turn.isNone() ? picture : turned(picture, m_turn);
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
    void countOutside(const cv::Mat& pixels, int row)
    {
        const auto stored = data();
        const auto shown = stored & window();
        const bool isShown = shown.y <= stored.y + row && stored.y + row < shown.br().y;
        const bool isInside = !factsOf(m_facts.depth).isFloat && m_options.factor == 1;
        if (!isShown || (isInside && !m_facts.hasAlpha))
            return;
        OutsideValues outside;
        outside.add(pixels.ptr<cv::Vec4f>(row, shown.x - stored.x), shown.width);
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

    bool readRows(cv::Mat& pixels, int first, int end) const
    {
        const auto& description = m_input->spec();
        const int firstRow = description.y + first;
        const int endRow = description.y + end;
        const auto pixelDistance = static_cast<OIIO::stride_t>(pixels.elemSize());
        const auto rowDistance = static_cast<OIIO::stride_t>(pixels.step[0]);
        const int part = m_input->current_subimage();
        return std::ranges::all_of(m_slots.ranges, [&](const ChannelRange& range) {
            auto* const samples = pixels.ptr<float>(first) + range.slot;
            if (description.tile_width)
                return m_input->read_tiles(
                    part, 0, description.x, description.x + description.width, firstRow, endRow,
                    description.z, description.z + 1, range.begin, range.end, OIIO::TypeDesc::FLOAT,
                    samples, pixelDistance, rowDistance);
            return m_input->read_scanlines(part, 0, firstRow, endRow, description.z, range.begin,
                                           range.end, OIIO::TypeDesc::FLOAT, samples, pixelDistance,
                                           rowDistance);
        });
    }

    std::unique_ptr<OIIO::ImageInput> m_input;
    const ReadingOptions m_options;
    PictureFacts m_facts;
    ChannelSlots m_slots;
    Turn m_turn{1};
    OutsideValues m_outside;
    std::mutex m_outsideMutex;
};

OIIO::TypeDesc sampleType(const DepthFacts& depth)
{
    if (depth.isFloat)
        return depth.bits == 16 ? OIIO::TypeDesc::HALF : OIIO::TypeDesc::FLOAT;
    return depth.bits == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16;
}

OIIO::ImageSpec descriptionOf(cv::Size size, SampleDepth depth, bool hasAlpha)
{
    const auto& facts = factsOf(depth);
    OIIO::ImageSpec description(size.width, size.height, hasAlpha ? 4 : 3, sampleType(facts));
    if (facts.bits % 8 != 0)
        description["oiio:BitsPerSample"] = facts.bits;
    description["oiio:UnassociatedAlpha"] = 1;
    return description;
}

// `fillRow` gives a row's samples in the order of the file.
template <class Sample, class FillRow>
void writeRows(const std::string& fileName, const std::string& heldName,
               const OIIO::ImageSpec& description, const FillRow& fillRow)
{
    // Outlives the writer, which closes what it has not written whole when it is destroyed.
    CheckedFile file;
    const auto output = OIIO::ImageOutput::create(fileName);
    if (!output)
        failToWrite(OIIO::geterror());
    file.open(fileName);
    if (!output->set_ioproxy(&file) || !output->open(heldName, description))
        failToWrite(output->geterror());
    // A writer takes what it knows instead of what it does not.
    if (output->spec().format != description.format)
        failToWrite("This kind of file cannot hold samples of this depth");

    const auto rowSize = static_cast<std::size_t>(description.width) *
                         static_cast<std::size_t>(description.nchannels);
    const int bandRows = std::min(bandHeight(rowsPerStrip), description.height);
    std::vector<Sample> band(rowSize * static_cast<std::size_t>(bandRows));
    bool isWritten = true;
    forEachBand(description.height, bandRows, [&](int first, int end) {
        forEachRow(first, end, [&](int row) {
            fillRow(row, &band[rowSize * static_cast<std::size_t>(row - first)]);
        });
        isWritten =
            isWritten &&
            output->write_scanlines(first, end, 0, OIIO::BaseTypeFromC<Sample>::value, band.data());
    });
    isWritten = isWritten && output->close();
    file.finish();
    if (!isWritten)
        failToWrite(output->geterror());
}

// The largest code of samples that OpenImageIO cuts to fewer bits than it takes, else 0. They are
// rounded before, to values whose codes no cut changes.
float codeThatIsCut(const DepthFacts& depth)
{
    return depth.isFloat || depth.bits % 8 == 0 ? 0 : static_cast<float>((1 << depth.bits) - 1);
}

// BGRA becomes RGB or RGBA.
template <int channels>
void storeRow(const cv::Vec4f* pixels, int count, const DepthFacts& depth, float* samples)
{
    constexpr std::array<int, 4> order = {2, 1, 0, 3};
    const float largestCode = codeThatIsCut(depth);
    for (const auto* pixel = pixels; pixel != pixels + count; ++pixel)
        for (int channel = 0; channel < channels; ++channel) {
            const float value = (*pixel)[order[static_cast<std::size_t>(channel)]];
            const float number = !depth.isFloat && std::isnan(value) ? 0 : value;
            *samples++ = largestCode > 0 ? std::round(number * largestCode) / largestCode : number;
        }
}

void writeHostPicture(const HostPicture& picture, const std::string& fileName, SampleDepth depth)
{
    const auto rowSize = picture.width * HostPicture::channels;
    writeRows<float>(
        fileName, fileName, descriptionOf({picture.width, picture.height}, depth, true),
        [&](int row, float* samples) { std::copy_n(picture.pixel(0, row), rowSize, samples); });
}

}

std::unique_ptr<IPictureFile> openPicture(const std::string& fileName,
                                          const ReadingOptions& options)
{
    return std::make_unique<PictureFile>(fileName, options);
}

void writePicture(const std::string& fileName, const Picture& picture, const std::string& heldName)
{
    const std::ptrdiff_t channels = picture.hasAlpha ? 4 : 3;
    const auto& depth = factsOf(picture.depth);
    const auto store = picture.hasAlpha ? storeRow<4> : storeRow<3>;
    const auto [pixels, place] = shownPart(picture);
    writeRows<float>(fileName, heldName,
                     descriptionOf(picture.size, picture.depth, picture.hasAlpha),
                     [&, &shown = pixels, &place = place](int row, float* samples) {
                         if (shown.size() != picture.size)
                             std::fill_n(samples, picture.size.width * channels, 0.f);
                         if (place.y <= row && row < place.br().y)
                             store(shown.ptr<cv::Vec4f>(row - place.y), place.width, depth,
                                   samples + place.x * channels);
                     });
}

void writePicture(const std::string& fileName, const cv::Mat& rgb)
{
    writeRows<unsigned char>(
        fileName, fileName, descriptionOf(rgb.size(), SampleDepth::U8, false),
        [&](int row, unsigned char* samples) { std::copy_n(rgb.ptr(row), rgb.cols * 3, samples); });
}

void writePng(const HostPicture& picture, const std::filesystem::path& path)
{
    writeHostPicture(picture, path, picture.depth == 8 ? SampleDepth::U8 : SampleDepth::U16);
}

void writeExr(const HostPicture& picture, const std::filesystem::path& path)
{
    writeHostPicture(picture, path, SampleDepth::F32);
}

}
