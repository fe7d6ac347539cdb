#include "tools/PictureTypes.h"

#include "MediaConversion/Errors.h"

#include <algorithm>
#include <set>

namespace Zeq {

using MediaConversion::fail;
using MediaConversion::joined;
using enum SampleDepth;

namespace {

bool holds(SampleDepth depth, SampleDepth source)
{
    const auto& facts = factsOf(depth);
    const auto& sourceFacts = factsOf(source);
    return facts.wholeBits >= sourceFacts.wholeBits && facts.isFloat >= sourceFacts.isFloat;
}

// OpenImageIO 2.4 mixes the samples of some pixels up where it packs four of 10 bits.
bool isWritten(const PictureType& type, SampleDepth depth, bool hasAlpha)
{
    return std::ranges::find(type.depths, depth) != type.depths.end() &&
           !(depth == U10 && hasAlpha);
}

}

const std::vector<PictureType>& pictureTypes()
{
    // clang-format off
    static const auto& types = *new std::vector<PictureType>{
        // extensions      depths                  alpha
        {{"png"},          {U8, U16},              true },
        {{"exr"},          {F32, F16},             true },
        {{"tif", "tiff"},  {U8, U16, F32},         true },
        {{"dpx"},          {U8, U10, U12, U16},    true },
        {{"jpg", "jpeg"},  {U8},                   false},
        {{"tga"},          {U8},                   true },
        {{"bmp"},          {U8},                   false},
    };
    // clang-format on
    return types;
}

const PictureType* findPictureType(const std::string& extension)
{
    const auto type = std::ranges::find_if(pictureTypes(), [&](const PictureType& each) {
        return std::ranges::find(each.extensions, extension) != each.extensions.end();
    });
    return type == pictureTypes().end() ? nullptr : &*type;
}

bool isPictureKind(const std::string& extension)
{
    static const auto& onlyRead =
        *new std::set<std::string>{"cin", "gif", "hdr", "jp2",  "pbm", "pgm", "pnm",
                                   "ppm", "psd", "rgb", "rgba", "sgi", "webp"};
    return findPictureType(extension) || onlyRead.contains(extension);
}

SampleDepth losslessDepth(const PictureType& type, SampleDepth source, bool hasAlpha)
{
    for (const auto depth : type.depths)
        if (holds(depth, source) && isWritten(type, depth, hasAlpha))
            return depth;
    fail(factsOf(source).name, factsOf(source).isFloat ? "" : "-bit", " samples do not fit into ",
         type.extensions.front(), " files without loss; choose a --depth");
}

SampleDepth checkedDepth(const PictureType& type, SampleDepth depth, bool hasAlpha)
{
    if (isWritten(type, depth, hasAlpha))
        return depth;
    std::string choices;
    for (const auto each : type.depths)
        if (isWritten(type, each, hasAlpha))
            choices += joined(choices.empty() ? "" : ", ", factsOf(each).name);
    fail(type.extensions.front(), " files", hasAlpha ? " with alpha" : "",
         " are not written in --depth ", factsOf(depth).name, "; choose ", choices);
}

}
