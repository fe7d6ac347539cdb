#include "python/Samples.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Errors.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace ZeqPython {

using MediaConversion::fail;
using MediaConversion::joined;
using Velmora::ChannelType;
using Velmora::FrameFormat;

namespace {

constexpr std::size_t mostChannels = 4;

// Calls the function with a sample of the type.
template <class Function>
auto withSample(ChannelType type, Function function)
{
    switch (type) {
        case ChannelType::U8:
            return function(std::uint8_t{});
        case ChannelType::U16:
            return function(std::uint16_t{});
        case ChannelType::F32:
            return function(float{});
        default:
            fail("Arrays cannot have samples of type ", type);
    }
}

std::ptrdiff_t sampleSize(ChannelType type)
{
    return withSample(type, [](auto sample) { return std::ptrdiff_t{sizeof sample}; });
}

// Spreads the rows over OpenCV's workers.
template <class Function>
void forEachRow(std::ptrdiff_t rows, const Function& function)
{
    cv::parallel_for_(cv::Range(0, static_cast<int>(rows)), [&](const cv::Range& range) {
        for (int row = range.start; row < range.end; ++row)
            function(row);
    });
}

}

void checkChannels(std::string_view channels)
{
    constexpr std::string_view all = "RGBA";
    bool isKnown = !channels.empty() && channels.size() <= all.size();
    for (const char channel : all)
        isKnown = isKnown && std::ranges::count(channels, channel) <= 1;
    if (!isKnown || channels.find_first_not_of(all) != std::string_view::npos)
        throw std::invalid_argument(
            joined("channels are '", channels,
                   "'; one or several of R, G, B and A are needed, each once at most"));
}

namespace {

// Puts the channels of each pixel in another order: `sources` has their places of before.
template <class Sample, std::size_t channels>
void reorder(cv::Mat pixels, const std::array<std::size_t, mostChannels>& sources)
{
    forEachRow(pixels.rows, [&](int row) {
        const auto places = sources;
        auto* pixel = pixels.ptr<Sample>(row);
        for (int column = 0; column < pixels.cols; ++column, pixel += channels) {
            std::array<Sample, channels> before{};
            std::copy_n(pixel, channels, before.begin());
            for (std::size_t channel = 0; channel < channels; ++channel)
                pixel[channel] = before[places[channel]];
        }
    });
}

}

bool haveEqualSteps(std::string_view channels, std::string_view order)
{
    bool areEqual = true;
    for (std::size_t channel = 2; channel < channels.size(); ++channel)
        areEqual = areEqual && order.find(channels[channel]) - order.find(channels[channel - 1]) ==
                                   order.find(channels[1]) - order.find(channels[0]);
    return areEqual;
}

FrameSamples select(std::unique_ptr<Velmora::IImageFrame> frame, const std::string& order,
                    const std::string& channels)
{
    const auto type = frame->format().channelType;
    const auto size = sampleSize(type);
    const cv::Mat& pixels = frame->image();
    std::array<std::size_t, mostChannels> sources{};
    std::ranges::transform(channels, sources.begin(),
                           [&](char channel) { return order.find(channel); });
    if (!haveEqualSteps(channels, order)) {
        auto next = channels.size();
        for (std::size_t place = 0; place < order.size(); ++place)
            if (channels.find(order[place]) == std::string::npos)
                sources[next++] = place;
        withSample(type, [&](auto sample) {
            order.size() == mostChannels ? reorder<decltype(sample), mostChannels>(pixels, sources)
                                         : reorder<decltype(sample), 3>(pixels, sources);
        });
        sources = {0, 1, 2, 3};
    }
    const auto first = static_cast<std::ptrdiff_t>(sources[0]);
    const auto step = channels.size() > 1 ? static_cast<std::ptrdiff_t>(sources[1]) - first : 1;
    const Samples samples{.data = reinterpret_cast<const std::byte*>(pixels.data) + first * size,
                          .rows = pixels.rows,
                          .columns = pixels.cols,
                          .rowStride = static_cast<std::ptrdiff_t>(pixels.step[0]),
                          .columnStride = static_cast<std::ptrdiff_t>(pixels.elemSize()),
                          .channelStride = step * size,
                          .type = type,
                          .channels = channels};
    return {std::move(frame), samples};
}

namespace {

// Where the channel of a pixel lies behind its first one.
std::ptrdiff_t offsetOf(char channel, const Samples& samples)
{
    return static_cast<std::ptrdiff_t>(samples.channels.find(channel)) * samples.channelStride;
}

bool isDirect(const FrameFormat& source, const FrameFormat& destination)
{
    return source == destination ||
           MediaConversion::conversionRegistry().contains({destination, source});
}

// Whether the samples lie as a frame of this format has them.
bool liesAs(const Samples& samples, const Velmora::NamedFormat& format)
{
    const auto size = sampleSize(samples.type);
    const auto order = format.pixelFormat;
    const auto pixelSize = static_cast<std::ptrdiff_t>(order.size()) * size;
    if (format.channelType != samples.type || order.size() != samples.channels.size() ||
        samples.columnStride != pixelSize || samples.rowStride < samples.columns * pixelSize)
        return false;
    for (std::size_t place = 0; place < order.size(); ++place)
        if (samples.channels.find(order[place]) == std::string::npos ||
            offsetOf(order[place], samples) - offsetOf(order[0], samples) !=
                static_cast<std::ptrdiff_t>(place) * size)
            return false;
    return true;
}

template <class Sample>
const Sample& sampleAt(const Samples& samples, std::ptrdiff_t row, std::ptrdiff_t column,
                       std::ptrdiff_t offset)
{
    return *reinterpret_cast<const Sample*>(samples.data + row * samples.rowStride +
                                            column * samples.columnStride + offset);
}

// Whether there is a float that is no fraction from 0 to 1.
bool hasValuesOutside(const Samples& samples)
{
    if (samples.type != ChannelType::F32)
        return false;
    std::atomic<bool> isFound = false;
    forEachRow(samples.rows, [&](int row) {
        const auto count = samples.columns * static_cast<std::ptrdiff_t>(samples.channels.size());
        const auto* const values = &sampleAt<float>(samples, row, 0, 0);
        bool isOutside = false;
        for (std::ptrdiff_t value = 0; value < count; ++value)
            isOutside |= !(values[value] >= 0 && values[value] <= 1);
        if (isOutside)
            isFound = true;
    });
    return isFound;
}

// What is no number becomes 0.
float limited(float value)
{
    return value > 0 ? std::min(value, 1.f) : 0;
}

template <class Element, class Sample>
Element convertSample(Sample sample)
{
    if constexpr (std::is_same_v<Sample, float>)
        return limited(sample);
    else if constexpr (std::is_same_v<Element, float>)
        return static_cast<float>(static_cast<double>(sample) / std::numeric_limits<Sample>::max());
    else
        return sample;
}

template <class Element>
constexpr Element opaque = std::is_floating_point_v<Element> ? 1
                                                             : std::numeric_limits<Element>::max();

template <class Element, class Sample>
void copyChannel(const Samples& samples, char channel, cv::Mat pixels, std::size_t place)
{
    const bool isThere = samples.channels.find(channel) != std::string::npos;
    const auto offset = isThere ? offsetOf(channel, samples) : 0;
    const int step = pixels.channels();
    forEachRow(pixels.rows, [&](int row) {
        auto* element = pixels.ptr<Element>(row) + place;
        for (int column = 0; column < pixels.cols; ++column, element += step)
            *element = isThere
                           ? convertSample<Element>(sampleAt<Sample>(samples, row, column, offset))
                           : opaque<Element>;
    });
}

std::unique_ptr<Velmora::ImageFrame> copyOf(const Samples& samples, const FrameFormat& format)
{
    auto frame = std::make_unique<Velmora::FullFrame>(format, static_cast<int>(samples.columns),
                                                      static_cast<int>(samples.rows));
    const auto& order = format.pixelFormat;
    for (std::size_t place = 0; place < order.size(); ++place)
        withSample(samples.type, [&](auto sample) {
            using Sample = decltype(sample);
            if (format.channelType == ChannelType::F32)
                copyChannel<float, Sample>(samples, order[place], frame->image(), place);
            else if constexpr (!std::is_same_v<Sample, float>)
                copyChannel<Sample, Sample>(samples, order[place], frame->image(), place);
        });
    return frame;
}

// A frame of the samples' type in the order that all conversions take, or of floats where there are
// none of this type.
FrameFormat formatOfCopy(const Samples& samples, const FrameFormat& destination)
{
    using namespace Velmora::Formats;
    for (const auto& format : {BGR_U8, BGRA_U8, BGR_U16, BGRA_U16, BGR_F32})
        if (format.channelType == samples.type &&
            format.pixelFormat.size() == samples.channels.size() &&
            (isDirect(format(), destination) || isDirect(format(), BGRA_F32())))
            return format();
    return BGRA_F32();
}

void checkSize(const Samples& samples)
{
    constexpr auto limit = std::numeric_limits<std::uint16_t>::max();
    if (samples.rows <= 0 || samples.columns <= 0)
        fail("Frame has no pixels");
    if (samples.rows > limit || samples.columns > limit)
        fail("Media file cannot hold a frame of ", samples.columns, "x", samples.rows, " pixels");
}

}

std::unique_ptr<Velmora::ImageFrame> frameFor(const Samples& samples,
                                              const FrameFormat& destination)
{
    checkSize(samples);
    const auto copied = formatOfCopy(samples, destination);
    for (const auto& format : Velmora::Formats::full)
        if (liesAs(samples, format) && (isDirect(format(), destination) || format() == copied)) {
            // The order of the channels may run against that of the memory.
            auto first = samples;
            first.data += offsetOf(format.pixelFormat[0], samples);
            if (hasValuesOutside(first))
                break;
            // Nothing writes into the matrix of a frame that is converted.
            auto* const data = const_cast<std::byte*>(first.data);
            return frameOver(format(), cv::Mat(static_cast<int>(samples.rows),
                                               static_cast<int>(samples.columns), format.cvType,
                                               data, static_cast<std::size_t>(samples.rowStride)));
        }
    return copyOf(samples, copied);
}

}
