#include "oiio/StoredRows.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "oiio/PictureDescription.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>
#include <vector>

namespace OpenImageIoPlugIn {

using MediaConversion::fail;
using Velmora::FrameFormat;
using Velmora::ImageFrame;

namespace {

using ChannelPlaces = std::array<int, 4>;  // of red, green, blue and alpha in a pixel

ChannelPlaces placesIn(const FrameFormat& full)
{
    return full.pixelFormat.starts_with('B') ? ChannelPlaces{2, 1, 0, 3}
                                             : ChannelPlaces{0, 1, 2, 3};
}

// Copies some channels of a row of pixels. A target need not be aligned.
template <class Sample, int wanted>
void pickChannels(const Sample* pixels, int channels, const int* places, int count,
                  std::byte* target, OIIO::stride_t distance)
{
    for (int pixel = 0; pixel < count; ++pixel) {
        for (int channel = 0; channel < wanted; ++channel)
            std::memcpy(target + channel * sizeof(Sample), pixels + places[channel],
                        sizeof(Sample));
        pixels += channels;
        target += distance;
    }
}

template <class Sample>
void pickChannels(const uchar* row, int channels, const int* places, int wanted, int count,
                  std::byte* target, OIIO::stride_t distance)
{
    constexpr std::array picks = {pickChannels<Sample, 1>, pickChannels<Sample, 2>,
                                  pickChannels<Sample, 3>, pickChannels<Sample, 4>};
    picks[static_cast<std::size_t>(wanted - 1)](reinterpret_cast<const Sample*>(row), channels,
                                                places, count, target, distance);
}

// Calls the operation with all numbers in a range, spread over so many of OpenCV's workers. What
// it does inside stays on its thread. Where no worker can be started, all is done here.
template <class Operation>
void forEachOf(int first, int end, int threads, const Operation& operation)
{
    const auto run = [&](const cv::Range& numbers) {
        for (int number = numbers.start; number < numbers.end; ++number)
            operation(number);
    };
    try {
        cv::parallel_for_(cv::Range(first, end), run, std::max(threads, 1));
    } catch (const std::exception&) {
        run(cv::Range(first, end));
    }
}

}

StoredRows::StoredRows(std::unique_ptr<Velmora::IFrame> frame)
{
    const std::shared_ptr<const Velmora::IFrame> shared = std::move(frame);
    m_frame = std::dynamic_pointer_cast<const ImageFrame>(shared);
    if (!m_frame)
        fail("frame is not an IImageFrame");
    m_native = nativeFormat(m_frame->format());
    m_float = Velmora::Formats::BGRA_F32();
}

void StoredRows::read(RowRange rows, const RowsTarget& target, int threads) const
{
    const auto& format = formatFor(target.type);
    forEachOf(bandOf(rows.first), bandOf(rows.end - 1) + 1, threads, [&](int number) {
        const RowRange inBand{std::max(rows.first, number * rowsPerBand),
                              std::min(rows.end, (number + 1) * rowsPerBand)};
        auto part = target;
        part.data += (inBand.first - rows.first) * target.rowDistance;
        copy(converted(number, format), inBand, part);
    });
}

void StoredRows::readOnward(RowRange rows, const RowsTarget& target)
{
    const auto& format = formatFor(target.type);
    const int number = bandOf(rows.first);
    if (m_latest.number != number || m_latest.format != &format)
        forEachOf(0, 1, 1, [&](int) { m_latest = converted(number, format); });
    copy(m_latest, rows, target);
}

const FrameFormat& StoredRows::formatFor(const OIIO::TypeDesc& type) const
{
    return type.is_floating_point() ? m_float : m_native;
}

StoredRows::Band StoredRows::converted(int number, const FrameFormat& format) const
{
    const auto& stored = m_frame->image();
    const int groupRows =
        rowsPerBand / static_cast<int>(m_frame->format().pixelPacking.rowsPerGroup);
    const auto groups =
        stored.rowRange(number * groupRows, std::min((number + 1) * groupRows, stored.rows));
    const auto frame = MediaConversion::convert(frameOver(m_frame->format(), groups), format);
    return {number, &format, frame->image()};
}

void StoredRows::copy(const Band& band, RowRange rows, const RowsTarget& target)
{
    const auto& pixels = band.pixels;
    const auto places = placesIn(*band.format);
    const int* const wantedPlaces = &places[static_cast<std::size_t>(target.firstChannel)];
    const int channels = pixels.channels();
    const int wanted = target.endChannel - target.firstChannel;
    const auto type = sampleType(*band.format);
    const auto pixelSize = static_cast<OIIO::stride_t>(type.size()) * wanted;
    const auto pick = type == OIIO::TypeDesc::UINT8    ? pickChannels<std::uint8_t>
                      : type == OIIO::TypeDesc::UINT16 ? pickChannels<std::uint16_t>
                                                       : pickChannels<float>;
    const bool areInPlace = wanted == channels && places[0] == 0;
    const bool isSameType = target.type == type;
    std::vector<std::byte> samples;
    if (!areInPlace && !isSameType)
        samples.resize(static_cast<std::size_t>(pixelSize) * static_cast<std::size_t>(pixels.cols));

    auto* data = target.data;
    for (int row = rows.first; row < rows.end; ++row, data += target.rowDistance) {
        const auto* const stored = pixels.ptr(row - band.number * rowsPerBand);
        if (isSameType && areInPlace && target.pixelDistance == pixelSize) {
            std::memcpy(data, stored, static_cast<std::size_t>(pixelSize * pixels.cols));
            continue;
        }
        if (isSameType) {
            pick(stored, channels, wantedPlaces, wanted, pixels.cols, data, target.pixelDistance);
            continue;
        }
        const void* source = stored;
        if (!areInPlace) {
            pick(stored, channels, wantedPlaces, wanted, pixels.cols, samples.data(), pixelSize);
            source = samples.data();
        }
        if (!OIIO::convert_image(wanted, pixels.cols, 1, 1, source, type, pixelSize,
                                 OIIO::AutoStride, OIIO::AutoStride, data, target.type,
                                 target.pixelDistance, OIIO::AutoStride, OIIO::AutoStride))
            fail("Pixels cannot be converted to ", std::string_view(target.type.c_str()));
    }
}

}
