#include "MediaConversion/Converters/Kernels.h"

#include <atomic>

namespace MediaConversion {

namespace {

// Of which level the kernels of each family are.
template <Level rgb, Level yCbCrDecoding, Level yCbCrEncoding, Level blocks>
const Kernels& kernelsOf()
{
    static const Kernels kernels{
        KernelsOf<rgb>::unpackRgb(),
        KernelsOf<rgb>::packRgb(),
        KernelsOf<yCbCrDecoding>::decodeYCbCr(),
        KernelsOf<yCbCrEncoding>::encodeYCbCr(),
        KernelsOf<blocks>::decodeBlocks(),
        KernelsOf<blocks>::encodeBlocks(),
    };
    return kernels;
}

const Kernels& kernelsOf([[maybe_unused]] Level level)
{
    using enum Level;
    // clang-format off
    //                     RGB       from and to YCbCr   blocks
#if defined(__x86_64__)
    if (level == Avx512)
        return kernelsOf<Avx2,     Avx512,   Avx2,     Avx2>();
    if (level == Avx2)
        return kernelsOf<Avx2,     Avx2,     Avx2,     Avx2>();
    if (level == Sse41)
        return kernelsOf<Sse41,    Sse41,    Sse41,    Sse41>();
#endif
    return     kernelsOf<Baseline, Baseline, Baseline, Baseline>();
    // clang-format on
}

std::atomic<const Kernels*>& kernelsInUse()
{
    static std::atomic<const Kernels*> kernels = &kernelsOf(bestLevel());
    return kernels;
}

}

Level bestLevel()
{
#if defined(__x86_64__)
    __builtin_cpu_init();  // for those who ask while the program starts
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        return Level::Avx512;
    if (__builtin_cpu_supports("avx2"))
        return Level::Avx2;
    if (__builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("ssse3"))
        return Level::Sse41;
#endif
    return Level::Baseline;
}

void useLevel(Level level)
{
    kernelsInUse() = &kernelsOf(level);
}

const Kernels& kernels()
{
    return *kernelsInUse();
}

}
