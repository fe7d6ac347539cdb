#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// A format as it is known in writing: by the name of its function, so that tests can list formats
// as plain text, its fields, the table of matrix types that has it, and its type there.
struct WrittenFormat
{
    std::string_view name;
    Velmora::NamedFormat format;
    Velmora::FrameFormat fields;
    const Velmora::CvTypes& (*table)();
    int cvType;
};

inline const std::vector<WrittenFormat>& namedFormats()
{
    using namespace Velmora::Formats;
    using enum Velmora::ChannelType;
    using enum Velmora::Colourspace;
    constexpr auto full = Velmora::FullFormatCvTypes;
    constexpr auto packed = Velmora::PackedFormatCvTypes;
    // clang-format off
    static const std::vector<WrittenFormat> formats{
        {"RGB_U8",          RGB_U8,          {RGB,             U8,       { 3,  3, 1, 1}, "RGB"},             full,    16},
        {"RGB_U10",         RGB_U10,         {RGB,             U10,      { 6,  3, 1, 1}, "RGB"},             full,    18},
        {"RGB_U12",         RGB_U12,         {RGB,             U12,      { 6,  3, 1, 1}, "RGB"},             full,    18},
        {"RGB_U15plus1",    RGB_U15plus1,    {RGB,             U15plus1, { 6,  3, 1, 1}, "RGB"},             full,    18},
        {"RGB_U16",         RGB_U16,         {RGB,             U16,      { 6,  3, 1, 1}, "RGB"},             full,    18},
        {"RGB_F32",         RGB_F32,         {RGB,             F32,      {12,  3, 1, 1}, "RGB"},             full,    21},
        {"BGR_U8",          BGR_U8,          {RGB,             U8,       { 3,  3, 1, 1}, "BGR"},             full,    16},
        {"BGR_U10",         BGR_U10,         {RGB,             U10,      { 6,  3, 1, 1}, "BGR"},             full,    18},
        {"BGR_U12",         BGR_U12,         {RGB,             U12,      { 6,  3, 1, 1}, "BGR"},             full,    18},
        {"BGR_U16",         BGR_U16,         {RGB,             U16,      { 6,  3, 1, 1}, "BGR"},             full,    18},
        {"BGR_F32",         BGR_F32,         {RGB,             F32,      {12,  3, 1, 1}, "BGR"},             full,    21},
        {"RGBA_U8",         RGBA_U8,         {RGBA,            U8,       { 4,  4, 1, 1}, "RGBA"},            full,    24},
        {"BGRA_U8",         BGRA_U8,         {RGBA,            U8,       { 4,  4, 1, 1}, "BGRA"},            full,    24},
        {"BGRA_U16",        BGRA_U16,        {RGBA,            U16,      { 8,  4, 1, 1}, "BGRA"},            full,    26},
        {"BGRA_F32",        BGRA_F32,        {RGBA,            F32,      {16,  4, 1, 1}, "BGRA"},            full,    29},
        {"ARGB_U8",         ARGB_U8,         {RGBA,            U8,       { 4,  4, 1, 1}, "ARGB"},            full,    24},
        {"ARGB_U15plus1",   ARGB_U15plus1,   {RGBA,            U15plus1, { 8,  4, 1, 1}, "ARGB"},            full,    26},
        {"CoCgAY_U8",       CoCgAY_U8,       {YCoCgA,          U8,       { 4,  4, 1, 1}, "CoCgAY"},          full,    24},
        {"RGB_DPX_FILLED",  RGB_DPX_FILLED,  {RGB,             U10,      { 4,  3, 1, 1}, "RGB-DPX-FILLED"},  packed,   4},
        {"BGR_DPX_FILLED",  BGR_DPX_FILLED,  {RGB,             U10,      { 4,  3, 1, 1}, "BGR-DPX-FILLED"},  packed,   4},
        {"RGB_DPX_PACKED",  RGB_DPX_PACKED,  {RGB,             U12,      { 9,  6, 1, 2}, "RGB-DPX-PACKED"},  packed,  64},
        {"BGR_DPX_PACKED",  BGR_DPX_PACKED,  {RGB,             U12,      { 9,  6, 1, 2}, "BGR-DPX-PACKED"},  packed,  64},
        {"RGB_SMPTE_2110",  RGB_SMPTE_2110,  {RGB,             U12,      { 9,  6, 1, 2}, "RGB-SMPTE-2110"},  packed,  64},
        {"BGR_SMPTE_2110",  BGR_SMPTE_2110,  {RGB,             U12,      { 9,  6, 1, 2}, "BGR-SMPTE-2110"},  packed,  64},
        {"YUYV_422",        YUYV_422,        {YCbCr_ITU_T871,  U8,       { 4,  4, 1, 2}, "YUYV-422"},        packed,  24},
        {"ZEQ_422",         ZEQ_422,         {YCbCr_ITU_T871,  U10,      { 5,  4, 1, 2}, "ZEQ-422"},         packed,  32},
        {"ZEQ_4224_HYBRID", ZEQ_4224_HYBRID, {YCbCrA_ITU_T871, U12,      { 8,  6, 1, 2}, "ZEQ-4224-HYBRID"}, packed,  12},
        {"ZEQ_420",         ZEQ_420,         {YCbCr_ITU_T871,  U8,       { 6,  6, 2, 2}, "ZEQ-420"},         packed,  40},
        {"YCoCg_DXT5",      YCoCg_DXT5,      {YCoCg,           U8,       {16, 48, 4, 4}, "YCoCg-DXT5"},      packed, 120},
        {"RGB_DXT1",        RGB_DXT1,        {RGB,             U8,       { 8, 48, 4, 4}, "RGB-DXT1"},        packed,  56},
    };
    // clang-format on
    return formats;
}

inline Velmora::FrameFormat formatNamed(std::string_view name)
{
    for (const auto& format : namedFormats())
        if (format.name == name)
            return format.fields;
    throw std::logic_error("No format is named " + std::string(name));
}

inline std::string nameOf(const Velmora::FrameFormat& format)
{
    for (const auto& named : namedFormats())
        if (named.fields == format)
            return std::string(named.name);
    return "no named format";
}
