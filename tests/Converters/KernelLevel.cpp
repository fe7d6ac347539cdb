#include "MediaConversion/Converters/Kernels/Level.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace MediaConversion {
namespace {

// With BASELINE_KERNELS set, the whole program runs on the kernels that every machine has: ctest
// runs the converters' tests both ways.
class KernelLevel final : public ::testing::Environment
{
public:
    void SetUp() override
    {
        if (std::getenv("BASELINE_KERNELS"))
            useLevel(Level::Baseline);
    }
};

[[maybe_unused]] const auto* const kernelLevel =
    ::testing::AddGlobalTestEnvironment(new KernelLevel);

}
}
