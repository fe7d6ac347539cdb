#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <opencv2/core.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

// What the reference arithmetic says of full frames: where colours lie in a pixel, full scales, the
// rounding rule, and how pixels meet the groups that stand for them.
namespace MediaConversion::Reference {

inline double fullScale(Velmora::ChannelType channelType)
{
    constexpr std::array fullScales{255.0, 1023.0, 4095.0, 32768.0, 65535.0, 1.0};
    return fullScales.at(static_cast<std::size_t>(channelType));
}

// Which channels of a pixel hold the colours of these letters; -1 for one that it lacks.
using Channels = std::array<int, 4>;

inline Channels channelsOf(std::string_view colours, const std::string& pixelFormat)
{
    Channels channels{};
    for (std::size_t k = 0; k < colours.size(); ++k)
        channels[k] = static_cast<int>(pixelFormat.find(colours[k]));
    return channels;
}

// What is not a number ends at 0.
inline double clamped(double value, double maximum)
{
    return value > 0 ? (value < maximum ? value : maximum) : 0;
}

// The stored form of a value that is already in the units of the destination.
template <class Element>
Element quantised(double value, double maximum)
{
    constexpr double half = std::is_floating_point_v<Element> ? 0 : 0.5;
    return static_cast<Element>(clamped(value, maximum) + half);
}

// Calls `body` with a zero of the type in which full frames store a channel of the given type.
template <class Body>
void withElement(Velmora::ChannelType channelType, const Body& body)
{
    if (channelType == Velmora::ChannelType::U8)
        body(std::uint8_t{});
    else if (channelType == Velmora::ChannelType::F32)
        body(float{});
    else
        body(std::uint16_t{});
}

// Calls `body` with a group's pixels, row by row, and the group.
template <int rows, int columns, class Element, class Body>
void forEachGroup(cv::Mat pixels, cv::Mat groups, const Body& body)
{
    cv::parallel_for_(cv::Range(0, groups.rows), [&](const cv::Range& range) {
        for (int row = range.start; row < range.end; ++row)
            for (int x = 0; x < groups.cols; ++x) {
                std::array<Element*, rows * columns> pixel;
                for (int k = 0; k < rows * columns; ++k)
                    pixel[k] = pixels.ptr<Element>(row * rows + k / columns) +
                               (x * columns + k % columns) * pixels.channels();
                body(pixel, groups.ptr<std::uint8_t>(row) + x * groups.elemSize());
            }
    });
}

}
