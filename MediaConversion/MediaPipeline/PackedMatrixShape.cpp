#include "MediaConversion/MediaPipeline/PackedMatrixShape.h"

#include "MediaConversion/Errors.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>

namespace Velmora {

PackedMatrixShape packedMatrixShape(const FrameFormat& format, int cvType, int width, int height)
{
    using MediaConversion::fail;
    const auto& packing = format.pixelPacking;
    const auto columns = static_cast<std::uint32_t>(width);
    const auto rows = static_cast<std::uint32_t>(height);
    if (columns % packing.columnsPerGroup != 0)
        fail("Frame format column pixel packing of ", packing.columnsPerGroup,
             " pixels is incompatible with supplied image columns of ", columns);
    if (rows % packing.rowsPerGroup != 0)
        fail("Frame format row pixel packing of ", packing.rowsPerGroup,
             " pixels is incompatible with supplied image rows of ", rows);
    if (static_cast<std::uint32_t>(CV_ELEM_SIZE(cvType)) != packing.bytesPerGroup)
        fail("Mismatch in channel count between packing format (", packing.bytesPerGroup,
             ") and underlying image matrix (", CV_ELEM_SIZE1(cvType), " bytes per channel, ",
             CV_MAT_CN(cvType), " channels)");
    return {static_cast<int>(rows / packing.rowsPerGroup),
            static_cast<int>(columns / packing.columnsPerGroup), cvType};
}

}
