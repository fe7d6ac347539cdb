#pragma once

#include <opencv2/core/hal/interface.h>

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace Velmora {

// Which colours the channels of a frame stand for. The YCbCr colourspaces are those of ITU-T T.871
// (full-range, as in JPEG files). The channel order is not part of the colourspace.
enum class Colourspace : std::uint32_t
{
    RGB = 0,
    RGBA = 1,
    YCbCr_ITU_T871 = 2,
    YCbCrA_ITU_T871 = 3,
    YCoCg = 4,
    YCoCgA = 5,
};

// How one channel sample is stored. U10, U12 and U15plus1 samples of full frames take 16 bits each;
// the full scale of U15plus1 is 32768, a power of two and one more than 15 bits can hold.
enum class ChannelType : std::uint32_t
{
    U8 = 0,
    U10 = 1,
    U12 = 2,
    U15plus1 = 3,
    U16 = 4,
    F32 = 5,
};

// The smallest piece of a frame that can be addressed: a pixel of a full format, a group of samples
// of a packed one. The fields stand in the order in which packings compare.
struct PixelPacking
{
    std::uint32_t bytesPerGroup;
    std::uint32_t channelsPerGroup;  // samples of all pixels of the group together
    std::uint32_t rowsPerGroup;
    std::uint32_t columnsPerGroup;

    auto operator<=>(const PixelPacking&) const = default;
};

// How the pixels of a frame lie in memory; width and height travel beside it. The fields stand in
// the order in which formats compare; texts compare by unsigned bytes. Any combination of fields
// can be expressed: the tables of OpenCV types and of conversions say which ones are of use.
struct FrameFormat
{
    Colourspace colourspace;
    ChannelType channelType;
    PixelPacking pixelPacking;
    std::string pixelFormat;  // the channels in memory order ("BGRA") or the name of the packing

    auto operator<=>(const FrameFormat&) const = default;
};

// The name of a channel type or colourspace; a value without one gives "(Unknown ChannelType 6)".
std::string toString(ChannelType channelType);
std::string toString(Colourspace colourspace);

// Whether pixels say how opaque they are.
bool hasAlpha(Colourspace colourspace);

// The bits of an integer sample of full precision, 16 for U15plus1; 32 for F32.
int bitsOf(ChannelType channelType);

// Colourspace, channel type and pixel format joined by underscores: "RGBA_U15plus1_ARGB". This is
// the text by which messages name a format.
std::string toString(const FrameFormat& format);

// A row of the table of formats. Calling it makes the format as a value: Formats::BGRA_F32().
struct NamedFormat
{
    Colourspace colourspace;
    ChannelType channelType;
    PixelPacking pixelPacking;
    std::string_view pixelFormat;
    int cvType;               // OpenCV's type of the matrix that holds a frame, a group an element
    std::uint32_t mediaCode;  // in the header of a media file; noCode where files cannot have it

    static constexpr std::uint32_t noCode = 0;

    FrameFormat operator()() const
    {
        return {colourspace, channelType, pixelPacking, std::string(pixelFormat)};
    }
};

// All that the system knows of formats. Every other table is made from this one or checked against
// it as it is compiled.
namespace Formats {

using enum Colourspace;
using enum ChannelType;
inline constexpr auto noCode = NamedFormat::noCode;

// Full formats first: a group is a pixel, and the text says in which order its channels lie in
// memory. Then packed ones: a group holds the samples of one or several pixels, laid out as
// Converters/Rgb, YCbCr and Blocks describe.
//
// clang-format off
//                                          colourspace      channels   bytes, channels, rows, columns of a group
//                                                                                       text               OpenCV type media code
inline constexpr NamedFormat RGB_U8          {RGB,             U8,       { 3,  3, 1, 1}, "RGB",             CV_8UC3,    0x00000200};
inline constexpr NamedFormat RGB_U10         {RGB,             U10,      { 6,  3, 1, 1}, "RGB",             CV_16UC3,   noCode};
inline constexpr NamedFormat RGB_U12         {RGB,             U12,      { 6,  3, 1, 1}, "RGB",             CV_16UC3,   noCode};
inline constexpr NamedFormat RGB_U15plus1    {RGB,             U15plus1, { 6,  3, 1, 1}, "RGB",             CV_16UC3,   noCode};
inline constexpr NamedFormat RGB_U16         {RGB,             U16,      { 6,  3, 1, 1}, "RGB",             CV_16UC3,   noCode};
inline constexpr NamedFormat RGB_F32         {RGB,             F32,      {12,  3, 1, 1}, "RGB",             CV_32FC3,   noCode};
inline constexpr NamedFormat BGR_U8          {RGB,             U8,       { 3,  3, 1, 1}, "BGR",             CV_8UC3,    0x00000202};
inline constexpr NamedFormat BGR_U10         {RGB,             U10,      { 6,  3, 1, 1}, "BGR",             CV_16UC3,   noCode};
inline constexpr NamedFormat BGR_U12         {RGB,             U12,      { 6,  3, 1, 1}, "BGR",             CV_16UC3,   noCode};
inline constexpr NamedFormat BGR_U16         {RGB,             U16,      { 6,  3, 1, 1}, "BGR",             CV_16UC3,   noCode};
inline constexpr NamedFormat BGR_F32         {RGB,             F32,      {12,  3, 1, 1}, "BGR",             CV_32FC3,   noCode};
inline constexpr NamedFormat RGBA_U8         {RGBA,            U8,       { 4,  4, 1, 1}, "RGBA",            CV_8UC4,    0x00000204};
inline constexpr NamedFormat BGRA_U8         {RGBA,            U8,       { 4,  4, 1, 1}, "BGRA",            CV_8UC4,    0x00000206};
inline constexpr NamedFormat BGRA_U16        {RGBA,            U16,      { 8,  4, 1, 1}, "BGRA",            CV_16UC4,   noCode};
inline constexpr NamedFormat BGRA_F32        {RGBA,            F32,      {16,  4, 1, 1}, "BGRA",            CV_32FC4,   noCode};
inline constexpr NamedFormat ARGB_U8         {RGBA,            U8,       { 4,  4, 1, 1}, "ARGB",            CV_8UC4,    noCode};
inline constexpr NamedFormat ARGB_U15plus1   {RGBA,            U15plus1, { 8,  4, 1, 1}, "ARGB",            CV_16UC4,   noCode};
inline constexpr NamedFormat CoCgAY_U8       {YCoCgA,          U8,       { 4,  4, 1, 1}, "CoCgAY",          CV_8UC4,    noCode};

inline constexpr NamedFormat RGB_DPX_FILLED  {RGB,             U10,      { 4,  3, 1, 1}, "RGB-DPX-FILLED",  CV_32SC1,   0x00001200};
inline constexpr NamedFormat BGR_DPX_FILLED  {RGB,             U10,      { 4,  3, 1, 1}, "BGR-DPX-FILLED",  CV_32SC1,   0x00001202};
inline constexpr NamedFormat RGB_DPX_PACKED  {RGB,             U12,      { 9,  6, 1, 2}, "RGB-DPX-PACKED",  CV_8UC(9),  noCode};
inline constexpr NamedFormat BGR_DPX_PACKED  {RGB,             U12,      { 9,  6, 1, 2}, "BGR-DPX-PACKED",  CV_8UC(9),  noCode};
inline constexpr NamedFormat RGB_SMPTE_2110  {RGB,             U12,      { 9,  6, 1, 2}, "RGB-SMPTE-2110",  CV_8UC(9),  0x00010200};
inline constexpr NamedFormat BGR_SMPTE_2110  {RGB,             U12,      { 9,  6, 1, 2}, "BGR-SMPTE-2110",  CV_8UC(9),  0x00010202};
inline constexpr NamedFormat YUYV_422        {YCbCr_ITU_T871,  U8,       { 4,  4, 1, 2}, "YUYV-422",        CV_8UC4,    0x00000008};
inline constexpr NamedFormat ZEQ_422         {YCbCr_ITU_T871,  U10,      { 5,  4, 1, 2}, "ZEQ-422",         CV_8UC(5),  0x00001108};
inline constexpr NamedFormat ZEQ_4224_HYBRID {YCbCrA_ITU_T871, U12,      { 8,  6, 1, 2}, "ZEQ-4224-HYBRID", CV_32SC2,   0x0001100C};
inline constexpr NamedFormat ZEQ_420         {YCbCr_ITU_T871,  U8,       { 6,  6, 2, 2}, "ZEQ-420",         CV_8UC(6),  0x00000040};
inline constexpr NamedFormat YCoCg_DXT5      {YCoCg,           U8,       {16, 48, 4, 4}, "YCoCg-DXT5",      CV_8UC(16), 0x20000000};
inline constexpr NamedFormat RGB_DXT1        {RGB,             U8,       { 8, 48, 4, 4}, "RGB-DXT1",        CV_8UC(8),  noCode};

inline constexpr std::array full{
    RGB_U8, RGB_U10, RGB_U12, RGB_U15plus1, RGB_U16, RGB_F32, BGR_U8, BGR_U10, BGR_U12, BGR_U16,
    BGR_F32, RGBA_U8, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1, CoCgAY_U8,
    // Frames can be built in these, but no conversion makes them.
    NamedFormat{RGB,             U15plus1, { 6,  3, 1, 1}, "BGR",             CV_16UC3,   noCode},
    NamedFormat{RGBA,            U10,      { 8,  4, 1, 1}, "RGBA",            CV_16UC4,   noCode},
    NamedFormat{RGBA,            U10,      { 8,  4, 1, 1}, "BGRA",            CV_16UC4,   noCode},
    NamedFormat{RGBA,            U12,      { 8,  4, 1, 1}, "RGBA",            CV_16UC4,   noCode},
    NamedFormat{RGBA,            U12,      { 8,  4, 1, 1}, "BGRA",            CV_16UC4,   noCode},
    NamedFormat{RGBA,            F32,      {16,  4, 1, 1}, "RGBA",            CV_32FC4,   noCode},
    NamedFormat{YCbCr_ITU_T871,  U8,       { 3,  3, 1, 1}, "YCbCr",           CV_8UC3,    noCode},
    NamedFormat{YCbCr_ITU_T871,  F32,      {12,  3, 1, 1}, "YCbCr",           CV_32FC3,   noCode},
    NamedFormat{YCbCr_ITU_T871,  U8,       { 3,  3, 1, 1}, "YCrCb",           CV_8UC3,    noCode},
};
inline constexpr std::array packed{
    RGB_DPX_FILLED, BGR_DPX_FILLED, RGB_DPX_PACKED, BGR_DPX_PACKED, RGB_SMPTE_2110, BGR_SMPTE_2110,
    YUYV_422, ZEQ_422, ZEQ_4224_HYBRID, ZEQ_420, YCoCg_DXT5, RGB_DXT1,
};
// clang-format on

}

// OpenCV's type code of the matrix that holds a frame, by the frame's format. A frame cannot be
// built in a format that its table lacks.
using CvTypes = std::map<FrameFormat, int>;

// The 27 formats of full frames: a matrix element is a pixel.
const CvTypes& FullFormatCvTypes();

// The 12 formats of packed frames: a matrix element is a group.
const CvTypes& PackedFormatCvTypes();

// The name that people call a format by: that of the packing, which says it all, or the order of
// the channels and their type: "ZEQ-422", "RGB-U8".
std::string shortName(const FrameFormat& format);

// The table's type code for the format; throws a std::runtime_error when the table has none.
int openCvType(const FrameFormat& format, const CvTypes& table);

}
