#include "MediaConversion/Converters/Kernels/Kernels.h"

#include <atomic>

namespace MediaConversion {

namespace {

template <Level level>
const Kernels& kernelsOf()
{
    using Rows = KernelsOf<level>;
    static constinit const Kernels kernels{Rows::unpackRgb.data(),    Rows::packRgb.data(),
                                           Rows::decodeYCbCr.data(),  Rows::encodeYCbCr.data(),
                                           Rows::decodeBlocks.data(), Rows::encodeBlocks.data()};
    return kernels;
}

const Kernels& kernelsOf(Level level)
{
#if defined(__x86_64__)
    if (level == Level::Avx2)
        return kernelsOf<Level::Avx2>();
#endif
    return kernelsOf<Level::Baseline>();
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
    if (__builtin_cpu_supports("avx2"))
        return Level::Avx2;
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
