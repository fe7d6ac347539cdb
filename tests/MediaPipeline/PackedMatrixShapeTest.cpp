#include "MediaConversion/MediaPipeline/PackedMatrixShape.h"

#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Velmora {
namespace {

FrameFormat packed(const PixelPacking& packing)
{
    return {Colourspace::YCbCr_ITU_T871, ChannelType::U8, packing, "any packing"};
}

TEST(PackedMatrixShape, countsGroups)
{
    struct Case
    {
        PixelPacking packing;
        int cvType, width, height, groupRows, groupColumns;
    };
    for (const auto& [packing, cvType, width, height, groupRows, groupColumns] : {
             Case{{6, 6, 2, 2}, 40, 1920, 1080, 540, 960},
             Case{{16, 48, 4, 4}, 120, 4096, 2160, 540, 1024},
             Case{{5, 4, 1, 2}, 32, 2, 1, 1, 1},
             Case{{4, 3, 1, 1}, 4, 65535, 65535, 65535, 65535},
             Case{{5, 4, 1, 2}, 32, 0, 0, 0, 0},
         }) {
        const auto shape = packedMatrixShape(packed(packing), cvType, width, height);
        EXPECT_EQ(shape.groupRows, groupRows);
        EXPECT_EQ(shape.groupColumns, groupColumns);
        EXPECT_EQ(shape.cvType, cvType);
    }
}

// From two faults on, the message is that of the first: columns, rows, bytes.
TEST(PackedMatrixShape, refusesPartialGroupsAndForeignElements)
{
    struct Case
    {
        PixelPacking packing;
        int cvType, width, height;
        const char* text;
    };
    // clang-format off
    for (const auto& offer : {
             Case{{5, 4, 2, 2}, 24, 1921, 1079, "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 1921"},
             Case{{5, 4, 4, 4}, 24, 4,    1079, "Frame format row pixel packing of 4 pixels is incompatible with supplied image rows of 1079"},
             Case{{5, 4, 1, 2}, 24, 4,    1,    "Mismatch in channel count between packing format (5) and underlying image matrix (1 bytes per channel, 4 channels)"},
             Case{{5, 4, 1, 2}, 10, 4,    1,    "Mismatch in channel count between packing format (5) and underlying image matrix (2 bytes per channel, 2 channels)"},
             Case{{4, 4, 1, 2}, 12, 4,    1,    "Mismatch in channel count between packing format (4) and underlying image matrix (4 bytes per channel, 2 channels)"},
         })
        expectError<std::runtime_error>(offer.text, [&] { packedMatrixShape(packed(offer.packing), offer.cvType, offer.width, offer.height); });
    // clang-format on
}

}
}
