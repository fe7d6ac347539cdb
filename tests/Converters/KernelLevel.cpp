#include "MediaConversion/Converters/Kernels/Level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace MediaConversion {
namespace {

// KERNEL_LEVEL names a lower level than the machine's best for the whole program: ctest runs the
// converters' tests on each.
class KernelLevel final : public ::testing::Environment
{
public:
    void SetUp() override
    {
        const char* const name = std::getenv("KERNEL_LEVEL");
        if (name && std::string_view(name) == "Baseline")
            useLevel(Level::Baseline);
        if (name && std::string_view(name) == "Avx2")
            useLevel(std::min(Level::Avx2, bestLevel()));
    }
};

[[maybe_unused]] const auto* const kernelLevel =
    ::testing::AddGlobalTestEnvironment(new KernelLevel);

}
}
