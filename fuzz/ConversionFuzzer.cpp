#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "fuzz/Fuzzing.h"
#include "tests/Converters/ConvertedFrames.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace MediaConversion;

// Every chain of conversions, on every level, from pixels or groups of any bytes. Each step has to
// give what the reference arithmetic gives.
void fuzz(FuzzedDataProvider& input)
{
    const auto index = input.ConsumeIntegral<std::uint8_t>() % conversionRegistry().size();
    const auto& [formats, steps] = *std::next(conversionRegistry().begin(), index);
    const auto& [destination, source] = formats;
    useLevel(std::min(bestLevel(), Level(input.ConsumeIntegralInRange(0, 3))));
    const auto& packing = destination.pixelPacking;
    const auto isOdd = [&] { return input.ConsumeIntegral<std::uint8_t>() == 1; };
    const int rows = input.ConsumeIntegralInRange(1, 3) * int(packing.rowsPerGroup) + isOdd();
    const int columns =
        input.ConsumeIntegralInRange(1, 70) * int(packing.columnsPerGroup) + isOdd();

    // The memory ends with the last pixel. Rows may be further apart than they are long.
    const int type = randomMatrix(source, 1, 1).type();
    const auto rowSize = std::size_t(columns) * CV_ELEM_SIZE(type);
    const auto step = rowSize + input.ConsumeIntegralInRange(0, 5) * CV_ELEM_SIZE1(type);
    std::vector<char> memory((rows - 1) * step + rowSize);
    const auto bytes = input.ConsumeRemainingBytesAsString() + '\x7F';
    for (std::size_t byte = 0; byte < memory.size(); ++byte)
        memory[byte] = bytes[byte % bytes.size()];
    const cv::Mat image(rows, columns, type, memory.data(), step);
    // Three of four floats lie within the scale or little beyond; the others may be anything.
    if (image.depth() == CV_32F)
        image.reshape(1).forEach<float>([](float& value, auto) {
            if (const auto bits = std::bit_cast<std::uint32_t>(value); bits % 4)
                value = static_cast<float>(bits >> 16) / 60000 - 0.04f;
        });

    auto frame = frameOver(source, image);
    std::string refusal;
    for (const auto& [what, unit, count] :
         {std::tuple("row", packing.rowsPerGroup, unsigned(frame->height())),
          {"column", packing.columnsPerGroup, unsigned(frame->width())}})
        if (count % unit != 0)
            refusal = joined("Frame format ", what, " pixel packing of ", unit,
                             " pixels is incompatible with supplied image ", what, "s of ", count);
    std::unique_ptr<Velmora::IImageFrame> result;
    const auto failure =
        failureOf([&, &to = destination] { result = convert(std::move(frame), to); });
    // Two chains are there without the conversion that they name.
    const bool isGap = failure.starts_with("RGB conversion is not supported from ");
    requireText(isGap ? failure : refusal, failure);
    if (!failure.empty())
        return;
    auto expected = frameOver(source, image);
    for (const auto& each : steps)
        expected = frameOver(each.format, reference(*expected, each.format));
    require(bool(sameBytes(expected->image(), result->image())));
}
