#include "benchmarks/Cases.h"

#include "MediaConversion/MediaPipeline/Formats.h"

namespace Benchmarks {

const std::vector<Conversion>& conversions()
{
    using namespace Velmora::Formats;
    using enum Scope;
    // clang-format off
    static const auto& table = *new std::vector<Conversion>{
        // from              to                 scope     ours / limit on 1, 2 threads
        {RGB_DPX_FILLED(),   BGRA_F32(),        Growing,  {1.20, 1.20}},
        {BGR_DPX_FILLED(),   BGRA_F32(),        Usual,    {1.20, 1.20}},
        {RGB_SMPTE_2110(),   BGRA_F32(),        Usual,    {1.20, 1.20}},
        {BGR_SMPTE_2110(),   BGRA_F32(),        Usual,    {1.20, 1.20}},
        {YUYV_422(),         BGRA_F32(),        Usual,    {1.50, 1.30}},
        {ZEQ_420(),          BGRA_F32(),        Usual,    {1.50, 1.30}},
        {ZEQ_422(),          BGRA_F32(),        Growing,  {1.70, 1.40}},
        {ZEQ_4224_HYBRID(),  BGRA_F32(),        Usual,    {2.20, 1.60}},
        {RGB_U8(),           BGRA_F32(),        Usual,    {1.30, 1.30}},
        {BGR_U8(),           BGRA_F32(),        Usual,    {1.30, 1.30}},
        {RGBA_U8(),          BGRA_F32(),        Usual,    {1.30, 1.30}},
        {BGRA_U8(),          BGRA_F32(),        Usual,    {1.30, 1.30}},
        {YCoCg_DXT5(),       BGRA_F32(),        Growing,  {1.70, 1.50}},
        {BGRA_F32(),         RGB_DPX_FILLED(),  Usual,    {1.40, 1.30}},
        {BGRA_F32(),         BGR_DPX_FILLED(),  Usual,    {1.40, 1.30}},
        {BGRA_F32(),         RGB_SMPTE_2110(),  Usual,    {1.40, 1.30}},
        {BGRA_F32(),         BGR_SMPTE_2110(),  Usual,    {1.40, 1.30}},
        {BGRA_F32(),         YUYV_422(),        Usual,    {2.20, 1.90}},
        {BGRA_F32(),         ZEQ_420(),         Growing,  {2.20, 1.90}},
        {BGRA_F32(),         ZEQ_422(),         Usual,    {2.20, 1.90}},
        {BGRA_F32(),         ZEQ_4224_HYBRID(), Usual,    {2.20, 1.90}},
        {BGRA_U8(),          YCoCg_DXT5(),      Growing,  {9.00, 9.00}},
        {RGBA_U8(),          RGB_DXT1(),        Usual,    {5.00, 5.00}},
        {RGB_DPX_FILLED(),   BGRA_F32(),        PeersFromFile},
        {YCoCg_DXT5(),       BGRA_U8(),         Peers},
    };
    // clang-format on
    return table;
}

std::string nameOf(const Velmora::FrameFormat& format)
{
    if (Velmora::PackedFormatCvTypes().contains(format))
        return format.pixelFormat;
    return format.pixelFormat + ' ' + toString(format.channelType);
}

std::string nameOf(const Conversion& conversion)
{
    return nameOf(conversion.source) + " to " + nameOf(conversion.destination) +
           (conversion.scope == Scope::PeersFromFile ? ", from a file" : "");
}

std::string nameOf(const Setting& setting)
{
    return (setting.picture == PictureKind::Noise ? "noise/" : "smooth/") +
           std::to_string(setting.height) + '/' + std::to_string(setting.threads);
}

}
