#include "oiio/PictureDescription.h"

#include "MediaConversion/Errors.h"

#include <cstdint>
#include <limits>
#include <map>
#include <string>

namespace OpenImageIoPlugIn {

using MediaConversion::fail;
using MediaConversion::MediaFileMagic;
using MediaConversion::MediaFileOptions;

namespace {

constexpr auto formatAttribute = "zeq:format";
constexpr auto magicAttribute = "zeq:magic";
constexpr auto bitsAttribute = "oiio:BitsPerSample";

// The attributes of what headers hold without a meaning of its own.
template <class Options, class Visitor>
void forEachKeptField(Options& options, const Visitor& visit)
{
    visit("zeq:headerByte0", options.headerByte0);
    visit("zeq:headerByte1", options.headerByte1);
    visit("zeq:headerRevision", options.headerRevision);
    visit("zeq:headerByte3", options.headerByte3);
    visit("zeq:frameField1", options.frameField1);
}

template <class Field>
Field checked(const char* name, int value)
{
    constexpr int most = std::numeric_limits<Field>::max();
    if (value < 0 || value > most)
        fail(name, " is ", value, "; a media file holds 0 to ", most);
    return static_cast<Field>(value);
}

}

const FrameFormat& nativeFormat(const FrameFormat& stored)
{
    using namespace Velmora::Formats;
    // clang-format off
    static const auto& formats = *new std::map<FrameFormat, FrameFormat>{
        // stored              native
        {RGB_U8(),             RGB_U8()  },
        {BGR_U8(),             RGB_U8()  },
        {RGBA_U8(),            RGBA_U8() },
        {BGRA_U8(),            RGBA_U8() },
        {RGB_DPX_FILLED(),     RGB_U16() },
        {BGR_DPX_FILLED(),     RGB_U16() },
        {RGB_SMPTE_2110(),     RGB_U16() },
        {BGR_SMPTE_2110(),     RGB_U16() },
        {YUYV_422(),           BGRA_F32()},
        {ZEQ_420(),            BGRA_F32()},
        {ZEQ_422(),            BGRA_F32()},
        {ZEQ_4224_HYBRID(),    BGRA_F32()},
        {YCoCg_DXT5(),         RGB_U8()  },
    };
    // clang-format on
    return formats.at(stored);
}

OIIO::TypeDesc sampleType(const FrameFormat& full)
{
    using enum Velmora::ChannelType;
    return full.channelType == U8    ? OIIO::TypeDesc::UINT8
           : full.channelType == F32 ? OIIO::TypeDesc::FLOAT
                                     : OIIO::TypeDesc::UINT16;
}

OIIO::ImageSpec descriptionOf(const MediaConversion::MediaHeader& header,
                              const MediaConversion::FrameHeader& frame, const FrameFormat& stored)
{
    const auto type = sampleType(nativeFormat(stored));
    OIIO::ImageSpec description(frame.frameWidth, frame.frameHeight,
                                hasAlpha(stored.colourspace) ? 4 : 3, type);
    if (header.width > 0 && header.height > 0) {
        description.full_width = header.width;
        description.full_height = header.height;
    }
    if (type == OIIO::TypeDesc::UINT16)
        description.attribute(bitsAttribute, bitsOf(stored.channelType));
    description.attribute(formatAttribute, shortName(stored));
    description.attribute(magicAttribute, std::string(toString(header.magic)));
    const auto kept = MediaConversion::mediaFileOptions(header, frame);
    forEachKeptField(kept,
                     [&](const char* name, int field) { description.attribute(name, field); });
    return description;
}

FrameFormat storedFormat(const OIIO::ImageSpec& description)
{
    const std::string name = description.get_string_attribute(formatAttribute);
    if (name.empty()) {
        const bool has16Bits = description.format == OIIO::TypeDesc::UINT16;
        const int allBits = 8 * static_cast<int>(description.format.size());
        return MediaConversion::defaultMediaFormat(
            has16Bits ? description.get_int_attribute(bitsAttribute, allBits) : allBits,
            description.nchannels == 4);
    }
    if (const auto format = MediaConversion::mediaFormat(name))
        return *format;
    std::string names;
    for (const auto& each : MediaConversion::mediaFormatNames())
        names += (names.empty() ? "" : ", ") + each;
    fail(formatAttribute, " is ", name, "; media files have ", names);
}

MediaFileOptions mediaFileOptions(const OIIO::ImageSpec& description)
{
    MediaFileOptions options;
    const std::string magic = description.get_string_attribute(magicAttribute);
    if (magic == toString(MediaFileMagic::ZeqZ))
        options.magic = MediaFileMagic::ZeqZ;
    forEachKeptField(options, [&]<class Field>(const char* name, Field& field) {
        field = checked<Field>(name, description.get_int_attribute(name));
    });
    return options;
}

}
