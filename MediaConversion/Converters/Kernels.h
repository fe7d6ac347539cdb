#pragma once

#include "MediaConversion/Converters/Blocks/BlockPackings.h"
#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Rgb/RgbPackings.h"
#include "MediaConversion/Converters/YCbCr/YCbCrPackings.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace MediaConversion {

// Which formats the kernels turn into which. Every gap is meant.
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

inline constexpr auto bytesToFloats =
    from<RgbU8, BgrU8, RgbaU8, BgraU8>(to<BgraF32>);
// clang-format on

// The instructions that a set of kernels is compiled for. Every kernel is compiled for each of them
// from the same source, and all give the same bytes.
enum class Level
{
    Baseline,  // what every machine of the architecture has
    Sse41,     // and what came before it
    Avx2,      // and FMA
    Avx512,    // F, BW, DQ and VL
};

// The best level of this machine.
Level bestLevel();

// The level whose kernels convert from now on: at first the best. For tests and benchmarks; not
// while a conversion runs. The machine has to have it.
void useLevel(Level level);

// Where a kernel's stores go. A plain store first fetches the line that it is going to overwrite,
// and leaves it in the caches; one past the caches does neither.
enum class Stores
{
    Plain,
    PastCaches,
};

// A result of at least so many bytes is stored past the caches: at first what does not stay in
// those of this machine until it is read.
std::size_t leastBytesPastCaches();

// For tests and benchmarks.
void storePastCachesFrom(std::size_t bytes);

// Converts one row of packing groups, whichever side has them, and writes every byte of the
// destination once. Where a group has several rows of pixels, the further ones follow the first at
// the step of that side, in bytes. A kernel that cannot store past the caches, or not to a
// destination that is aligned so, stores plainly.
using RowKernel = void (*)(const std::uint8_t* source, std::size_t sourceStep,
                           std::uint8_t* destination, std::size_t destinationStep, int groupCount,
                           Stores stores);

// The kernels of a family in the level that is in use, in the order of the family's pairs.
const RowKernel* kernels(Family family);

// Those of one level, each defined by the source that is compiled for it.
template <Level, Family>
const RowKernel* kernelsOf();

// KernelFamily::row<Source, Destination> for every pair.
template <class KernelFamily, class... Conversions>
constexpr auto kernelRows(Pairs<Conversions...>)
{
    return std::array{KernelFamily::template row<typename Conversions::Source,
                                                 typename Conversions::Destination>...};
}

}
