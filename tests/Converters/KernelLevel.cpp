#include "tests/support/KernelLevels.h"

#include <gtest/gtest.h>

namespace MediaConversion {
namespace {

class KernelLevel final : public ::testing::Environment
{
public:
    void SetUp() override { useLevelOfEnvironment(); }
};

[[maybe_unused]] const auto* const kernelLevel =
    ::testing::AddGlobalTestEnvironment(new KernelLevel);

}
}
