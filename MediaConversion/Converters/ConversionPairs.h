#pragma once

#include "MediaConversion/Converters/Blocks/BlockPackings.h"
#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Rgb/RgbPackings.h"
#include "MediaConversion/Converters/YCbCr/YCbCrPackings.h"

// Which formats the converters turn into which. Every gap is meant.
namespace MediaConversion {

// clang-format off
inline constexpr auto rgbUnpackings =
    from<RgbDpxFilled, BgrDpxFilled>(to<RgbU8, BgrU8, RgbU10, BgrU10,                 RgbU16, RgbaU8, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>) +
    from<RgbDpxPacked, BgrDpxPacked>(to<RgbU8, BgrU8,                 RgbU12, BgrU12,         RgbaU8, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>) +
    from<RgbSmpte2110, BgrSmpte2110>(to<RgbU8, BgrU8,                 RgbU12, BgrU12, RgbU16,         BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>);

inline constexpr auto rgbPackings =
    from<RgbU8, BgrU8, BgrU16, BgrF32, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>(
                  to<RgbDpxFilled, BgrDpxFilled, RgbSmpte2110, BgrSmpte2110>) +
    from<RgbU10> (to<RgbDpxFilled>) +
    from<RgbU12> (to<                            RgbSmpte2110              >) +
    from<BgrU12> (to<                            RgbSmpte2110, BgrSmpte2110>);

inline constexpr auto yCbCrDecodings =
    from<Yuyv422>      (to<RgbU8, BgrU8,                      BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>) +
    from<Zeq422>       (to<RgbU8, BgrU8, RgbU15plus1, RgbU16, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>) +
    from<Zeq4224Hybrid>(to<                                                    BgraF32                      >) +
    from<Zeq420>       (to<RgbU8, BgrU8,                      BgraU8, BgraU16, BgraF32                      >);

inline constexpr auto yCbCrEncodings =
    from<RgbU8, BgrU8>         (to<Yuyv422,                        Zeq420>) +
    from<RgbU15plus1>          (to<         Zeq422                       >) +
    from<BgrU16, BgrF32>       (to<Yuyv422, Zeq422,                Zeq420>) +
    from<BgraU8, BgraU16>      (to<Yuyv422, Zeq422,                Zeq420>) +
    from<BgraF32>              (to<Yuyv422, Zeq422, Zeq4224Hybrid, Zeq420>) +
    from<ArgbU8, ArgbU15plus1> (to<Yuyv422, Zeq422                       >);

inline constexpr auto blockDecodings =
    from<YCoCgDxt5, RgbDxt1>(to<RgbU8, BgrU8, BgraU8>);

inline constexpr auto blockEncodings =
    from<RgbU8, BgrU8, RgbaU8, BgraU8>(to<YCoCgDxt5>) +
    from<              RgbaU8        >(to<           RgbDxt1>);
// clang-format on

}
