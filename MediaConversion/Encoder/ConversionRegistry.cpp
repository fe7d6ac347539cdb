#include "MediaConversion/Encoder/ConversionRegistry.h"

#include "MediaConversion/Encoder/Filters.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <initializer_list>
#include <optional>

namespace MediaConversion {

namespace {

using Velmora::FrameFormat;
using Velmora::NamedFormat;

// A step without a format of its own ends at the destination of its rule.
struct RuleStep
{
    FilterFactory factory;
    std::optional<NamedFormat> format;
};

// Every source converts to every destination through the same steps.
struct Rule
{
    std::vector<NamedFormat> sources;
    std::vector<NamedFormat> destinations;
    std::vector<RuleStep> steps;
};

template <class Filter>
std::unique_ptr<IFrameFilter> create(const FrameFormat& format)
{
    return std::make_unique<Filter>(format);
}

template <class Filter>
RuleStep by(std::optional<NamedFormat> format = {})
{
    return {create<Filter>, format};
}

ConversionRegistry expand(std::initializer_list<Rule> rules)
{
    ConversionRegistry registry;
    for (const auto& rule : rules)
        for (const auto& source : rule.sources)
            for (const auto& destination : rule.destinations) {
                auto& chain = registry[{destination(), source()}];
                for (const auto& step : rule.steps)
                    chain.push_back({step.format.value_or(destination)(), step.factory});
            }
    return registry;
}

}

// 166 chains. Those of YUYV_422 and ZEQ_422 to RGBA_U8 name a pair that their processor lacks: the
// Encoder is built, and a frame is refused with the processor's own text.
const ConversionRegistry& conversionRegistry()
{
    using namespace Velmora::Formats;
    // clang-format off
    static const ConversionRegistry& registry = *new ConversionRegistry(expand({
        // Between full formats
        {{RGB_U8},                 {BGR_U8, RGBA_U8, BGRA_U8},         {by<ConvertColourspace>()}},
        {{BGR_U8},                 {RGB_U8, RGBA_U8, BGRA_U8},         {by<ConvertColourspace>()}},
        {{RGBA_U8},                {RGB_U8, BGR_U8, BGRA_U8},          {by<ConvertColourspace>()}},
        {{BGRA_U8},                {RGB_U8, BGR_U8, RGBA_U8},          {by<ConvertColourspace>()}},
        {{BGR_F32},                {BGRA_F32},                         {by<ConvertColourspace>()}},
        {{RGB_U8, BGR_U8, RGBA_U8},{BGRA_F32},                         {by<ConvertColourspace>(BGRA_U8), by<ConvertBitDepth>()}},
        {{BGRA_U8},                {BGRA_F32},                         {by<ConvertBitDepth>()}},
        {{BGRA_F32},               {BGRA_U8},                          {by<ConvertBitDepth>()}},
        {{BGRA_F32},               {RGB_U8, BGR_U8, RGBA_U8},          {by<ConvertBitDepth>(BGRA_U8), by<ConvertColourspace>()}},

        // From 10-bit words
        {{RGB_DPX_FILLED, BGR_DPX_FILLED},
         {BGR_U8, RGB_U16, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1},
                                                                       {by<ConvertToFullFrame>()}},

        // From 12-bit groups
        {{RGB_SMPTE_2110, BGR_SMPTE_2110},
         {RGB_U16, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1},
                                                                       {by<ConvertToFullFrame>()}},
        {{RGB_SMPTE_2110},         {RGB_U12, BGR_U12},                 {by<ConvertToFullFrame>()}},
        {{RGB_SMPTE_2110},         {RGB_U8},                           {by<ConvertToFullFrame>(RGB_U12), by<ConvertBitDepth>()}},
        {{RGB_SMPTE_2110},         {BGR_U8},                           {by<ConvertToFullFrame>(RGB_U12), by<ConvertBitDepth>(RGB_U8), by<ConvertColourspace>()}},
        {{BGR_SMPTE_2110},         {BGR_U8},                           {by<ConvertToFullFrame>(BGR_U12), by<ConvertBitDepth>()}},
        {{RGB_DPX_PACKED},         {RGB_U12, BGR_U12},                 {by<ConvertToFullFrame>()}},
        {{RGB_DPX_PACKED, BGR_DPX_PACKED}, {BGRA_U8, RGBA_U8},         {by<ConvertToFullFrame>()}},
        {{RGB_DPX_PACKED, BGR_DPX_PACKED}, {RGB_U8},                   {by<ConvertToFullFrame>(RGBA_U8), by<ConvertColourspace>()}},
        {{RGB_DPX_PACKED},         {BGR_U8},                           {by<ConvertToFullFrame>(RGBA_U8), by<ConvertColourspace>()}},
        {{BGR_DPX_PACKED},         {BGR_U8},                           {by<ConvertToFullFrame>(BGRA_U8), by<ConvertColourspace>()}},

        // From YCbCr
        {{YUYV_422},
         {RGB_U8, BGR_U8, RGBA_U8, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1},
                                                                       {by<ConvertYCbCr42xToRGB>()}},
        {{ZEQ_422},
         {RGB_U8, BGR_U8, RGB_U16, RGBA_U8, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1},
                                                                       {by<ConvertYCbCr42xToRGB>()}},
        {{ZEQ_4224_HYBRID},        {BGRA_F32},                         {by<ConvertYCbCr42xToRGB>()}},
        {{ZEQ_420},                {RGB_U8, BGR_U8, BGRA_U8, BGRA_U16, BGRA_F32},
                                                                       {by<ConvertYCbCr42xToRGB>()}},

        // From blocks
        {{YCoCg_DXT5},             {RGB_U8, BGR_U8, BGRA_U8},          {by<ConvertYCoCgDXT5toRGB>()}},
        {{YCoCg_DXT5},             {BGRA_F32},                         {by<ConvertYCoCgDXT5toRGB>(BGRA_U8), by<ConvertBitDepth>()}},

        // Between packings
        {{BGR_SMPTE_2110},         {RGB_SMPTE_2110},                   {by<ConvertToFullFrame>(BGR_U12), by<ConvertToPackedFrame>()}},
        {{BGR_DPX_PACKED},         {BGR_SMPTE_2110},                   {by<ConvertToFullFrame>(BGR_U12), by<ConvertToPackedFrame>()}},
        {{RGB_DPX_PACKED},         {RGB_SMPTE_2110},                   {by<ConvertToFullFrame>(RGB_U12), by<ConvertToPackedFrame>()}},
        {{RGB_SMPTE_2110},         {ZEQ_422},                          {by<ConvertToFullFrame>(RGB_U12), by<ConvertBitDepth>(RGB_U15plus1), by<ConvertRGBtoYCbCr42x>()}},

        // To 10-bit words and 12-bit groups
        {{RGB_U8, BGR_U8, BGR_U16, BGR_F32, BGRA_U8, BGRA_U16, BGRA_F32, ARGB_U8, ARGB_U15plus1},
         {RGB_DPX_FILLED, BGR_DPX_FILLED, RGB_SMPTE_2110, BGR_SMPTE_2110},
                                                                       {by<ConvertToPackedFrame>()}},
        {{RGB_U10},                {RGB_DPX_FILLED},                   {by<ConvertToPackedFrame>()}},
        {{RGB_U12},                {RGB_SMPTE_2110},                   {by<ConvertToPackedFrame>()}},

        // To YCbCr
        {{RGB_U8, BGR_U8},         {YUYV_422, ZEQ_420},                {by<ConvertRGBtoYCbCr42x>()}},
        {{BGR_U16, BGR_F32, BGRA_U8, BGRA_U16, BGRA_F32},
         {YUYV_422, ZEQ_422, ZEQ_420},                                 {by<ConvertRGBtoYCbCr42x>()}},
        {{ARGB_U8, ARGB_U15plus1}, {YUYV_422, ZEQ_422},                {by<ConvertRGBtoYCbCr42x>()}},
        {{RGB_U15plus1},           {ZEQ_422},                          {by<ConvertRGBtoYCbCr42x>()}},
        {{BGRA_F32},               {ZEQ_4224_HYBRID},                  {by<ConvertRGBtoYCbCr42x>()}},

        // To blocks
        {{RGB_U8, BGR_U8, RGBA_U8, BGRA_U8}, {YCoCg_DXT5},             {by<ConvertRGBtoYCoCgDXT5>()}},
        {{BGR_U16, BGR_F32},       {YCoCg_DXT5},                       {by<ConvertBitDepth>(BGR_U8), by<ConvertRGBtoYCoCgDXT5>()}},
        {{BGRA_U16, BGRA_F32},     {YCoCg_DXT5},                       {by<ConvertBitDepth>(BGRA_U8), by<ConvertRGBtoYCoCgDXT5>()}},
        {{RGB_U8, BGR_U8},         {RGB_DXT1},                         {by<ConvertColourspace>(RGBA_U8), by<ConvertRGBtoYCoCgDXT5>()}},
    }));
    // clang-format on
    return registry;
}

namespace {

// Complete once the library is loaded.
[[maybe_unused]] const auto& registryAtStartUp = conversionRegistry();

}

}
