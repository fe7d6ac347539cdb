#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>

// What the plain arithmetic says of full frames: where colours lie in a pixel, full scales, the
// rounding rule, and how rows are handed to workers.
namespace MediaConversion::Plain {

inline double fullScale(Velmora::ChannelType channelType)
{
    switch (channelType) {
        case Velmora::ChannelType::U8:
            return 255;
        case Velmora::ChannelType::U10:
            return 1023;
        case Velmora::ChannelType::U12:
            return 4095;
        case Velmora::ChannelType::U15plus1:
            return 32768;
        case Velmora::ChannelType::U16:
            return 65535;
        case Velmora::ChannelType::F32:
            return 1.0;
    }
    throw std::invalid_argument("no such channel type");
}

// Which channel of a pixel holds the colour 'R', 'G', 'B' or 'A'; -1 when none does.
inline int channelOf(char colour, const std::string& pixelFormat)
{
    const auto position = pixelFormat.find(colour);
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

// The channels of a colour pixel by name.
struct ColourChannels
{
    explicit ColourChannels(const std::string& pixelFormat)
        : red(channelOf('R', pixelFormat)),
          green(channelOf('G', pixelFormat)),
          blue(channelOf('B', pixelFormat)),
          alpha(channelOf('A', pixelFormat)),
          count(alpha < 0 ? 3 : 4)
    {
    }

    int red;
    int green;
    int blue;
    int alpha;
    int count;
};

// The stored form of a value that is already in the units of the destination.
template <class Element>
Element quantised(double value, double maximum)
{
    const double clamped = std::clamp(value, 0.0, maximum);
    if constexpr (std::is_floating_point_v<Element>)
        return static_cast<Element>(clamped);
    else
        return static_cast<Element>(clamped + 0.5);
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

template <class Body>
void forEachRow(const cv::Mat& matrix, const Body& body)
{
    cv::parallel_for_(cv::Range(0, matrix.rows), [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row)
            body(row);
    });
}

}
