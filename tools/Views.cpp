#include "tools/Views.h"

#include "imaging/Colours.h"

namespace Zeq {

std::vector<Argument> viewArguments(ViewOptions& options)
{
    return withReadingArguments(
        {{.names = "--size",
          .value = "N",
          .target = &options.side,
          .help =
              "the longer side of each in pixels (default: " + std::to_string(options.side) + ")",
          .largest = 4096},
         {"--srgb", "", &options.isForDisplay,
          "show half and float samples as linear light, by the curve of sRGB"}},
        options.reading);
}

ReducedPicture readReduced(const std::string& fileName, const ReadingOptions& reading,
                           const ViewOptions& options, MemoryBudget& budget)
{
    const auto file = openFile(fileName, reading);
    const auto& facts = file->facts();
    const auto reservation = budget.reserve(facts.byteCount);
    const auto picture = file->readPicture();
    checkNotEmpty(facts);
    // Light is averaged before it is encoded.
    auto view = reduced(picture, options.side);
    if (options.isForDisplay && factsOf(picture.depth).isFloat)
        for (int row = 0; row < view.pixels.rows; ++row)
            Imaging::encodeSrgb(view.pixels.ptr<cv::Vec4f>(row), view.pixels.cols);
    return {view, facts.size};
}

}
