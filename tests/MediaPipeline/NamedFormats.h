#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <stdexcept>
#include <string>
#include <string_view>

struct NamedFormat
{
    std::string_view name;
    Velmora::FrameFormat (*format)();
};

// The formats by the names of their functions, so that tests can list them as plain text.
// clang-format off
inline constexpr NamedFormat namedFormats[] = {
    {"RGB_U8",          Velmora::Formats::RGB_U8},
    {"RGB_U10",         Velmora::Formats::RGB_U10},
    {"RGB_U12",         Velmora::Formats::RGB_U12},
    {"RGB_U15plus1",    Velmora::Formats::RGB_U15plus1},
    {"RGB_U16",         Velmora::Formats::RGB_U16},
    {"RGB_F32",         Velmora::Formats::RGB_F32},
    {"BGR_U8",          Velmora::Formats::BGR_U8},
    {"BGR_U10",         Velmora::Formats::BGR_U10},
    {"BGR_U12",         Velmora::Formats::BGR_U12},
    {"BGR_U16",         Velmora::Formats::BGR_U16},
    {"BGR_F32",         Velmora::Formats::BGR_F32},
    {"RGBA_U8",         Velmora::Formats::RGBA_U8},
    {"BGRA_U8",         Velmora::Formats::BGRA_U8},
    {"BGRA_U16",        Velmora::Formats::BGRA_U16},
    {"BGRA_F32",        Velmora::Formats::BGRA_F32},
    {"ARGB_U8",         Velmora::Formats::ARGB_U8},
    {"ARGB_U15plus1",   Velmora::Formats::ARGB_U15plus1},
    {"CoCgAY_U8",       Velmora::Formats::CoCgAY_U8},
    {"RGB_DPX_FILLED",  Velmora::Formats::RGB_DPX_FILLED},
    {"BGR_DPX_FILLED",  Velmora::Formats::BGR_DPX_FILLED},
    {"RGB_DPX_PACKED",  Velmora::Formats::RGB_DPX_PACKED},
    {"BGR_DPX_PACKED",  Velmora::Formats::BGR_DPX_PACKED},
    {"RGB_SMPTE_2110",  Velmora::Formats::RGB_SMPTE_2110},
    {"BGR_SMPTE_2110",  Velmora::Formats::BGR_SMPTE_2110},
    {"YUYV_422",        Velmora::Formats::YUYV_422},
    {"ZEQ_422",         Velmora::Formats::ZEQ_422},
    {"ZEQ_4224_HYBRID", Velmora::Formats::ZEQ_4224_HYBRID},
    {"ZEQ_420",         Velmora::Formats::ZEQ_420},
    {"YCoCg_DXT5",      Velmora::Formats::YCoCg_DXT5},
    {"RGB_DXT1",        Velmora::Formats::RGB_DXT1},
};
// clang-format on

inline Velmora::FrameFormat formatNamed(std::string_view name)
{
    for (const auto& named : namedFormats)
        if (named.name == name)
            return named.format();
    throw std::logic_error("No format is named " + std::string(name));
}

inline std::string nameOf(const Velmora::FrameFormat& format)
{
    for (const auto& named : namedFormats)
        if (named.format() == format)
            return std::string(named.name);
    return "no named format";
}
