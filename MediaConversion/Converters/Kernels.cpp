#include "MediaConversion/Converters/Kernels.h"

#include <atomic>

namespace MediaConversion {

namespace {

using KernelSet = std::array<const RowKernel*, 6>;  // by family

template <Level rgb, Level yCbCrDecoding, Level yCbCrEncoding, Level blocks>
const KernelSet& kernelSet()
{
    static const KernelSet kernels{
        kernelsOf<rgb, Family::RgbUnpacking>(),
        kernelsOf<rgb, Family::RgbPacking>(),
        kernelsOf<yCbCrDecoding, Family::YCbCrDecoding>(),
        kernelsOf<yCbCrEncoding, Family::YCbCrEncoding>(),
        kernelsOf<blocks, Family::BlockDecoding>(),
        kernelsOf<blocks, Family::BlockEncoding>(),
    };
    return kernels;
}

const KernelSet& kernelSet([[maybe_unused]] Level level)
{
    using enum Level;
    // clang-format off
    //                     RGB       from and to YCbCr   blocks
#if defined(__x86_64__)
    if (level == Avx512)
        return kernelSet<Avx2,     Avx512,   Avx2,     Avx2>();
    if (level == Avx2)
        return kernelSet<Avx2,     Avx2,     Avx2,     Avx2>();
    if (level == Sse41)
        return kernelSet<Sse41,    Sse41,    Sse41,    Sse41>();
#endif
    return     kernelSet<Baseline, Baseline, Baseline, Baseline>();
    // clang-format on
}

std::atomic<const KernelSet*>& kernelsInUse()
{
    static std::atomic<const KernelSet*> kernels = &kernelSet(bestLevel());
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
    kernelsInUse() = &kernelSet(level);
}

const RowKernel* kernels(Family family)
{
    return (*kernelsInUse().load())[static_cast<std::size_t>(family)];
}

}
