#include "tools/PictureTypes.h"

#include "MediaConversion/Errors.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace Zeq {

using MediaConversion::fail;
using enum SampleDepth;

namespace {

struct DepthFacts
{
    SampleDepth depth;
    const char* name;
    int wholeBits;  // whole numbers of so many bits are kept apart
    bool isFloat;
};

// Half floats have 11 significant bits.
constexpr std::array<DepthFacts, 6> depths{{
    {U8, "8", 8, false},
    {U10, "10", 10, false},
    {U12, "12", 12, false},
    {U16, "16", 16, false},
    {F16, "half", 11, true},
    {F32, "float", 24, true},
}};

const DepthFacts& factsOf(SampleDepth depth)
{
    return *std::ranges::find(depths, depth, &DepthFacts::depth);
}

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
    std::string lowerCase = extension;
    std::ranges::transform(lowerCase, lowerCase.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    const auto type = std::ranges::find_if(pictureTypes(), [&](const PictureType& each) {
        return std::ranges::find(each.extensions, lowerCase) != each.extensions.end();
    });
    return type == pictureTypes().end() ? nullptr : &*type;
}

std::string nameOf(SampleDepth depth)
{
    return factsOf(depth).name;
}

std::vector<std::string> depthNames()
{
    std::vector<std::string> names;
    names.reserve(depths.size());
    for (const auto& facts : depths)
        names.emplace_back(facts.name);
    return names;
}

SampleDepth depthNamed(const std::string& name)
{
    const auto* const facts = std::ranges::find(depths, name, &DepthFacts::name);
    return facts == depths.end() ? F32 : facts->depth;
}

SampleDepth losslessDepth(const PictureType& type, SampleDepth source, bool hasAlpha)
{
    for (const auto depth : type.depths)
        if (holds(depth, source) && isWritten(type, depth, hasAlpha))
            return depth;
    fail(nameOf(source), factsOf(source).isFloat ? "" : "-bit", " samples do not fit into ",
         type.extensions.front(), " files without loss; choose a --depth");
}

SampleDepth checkedDepth(const PictureType& type, SampleDepth depth, bool hasAlpha)
{
    if (isWritten(type, depth, hasAlpha))
        return depth;
    std::string choices;
    for (const auto each : type.depths)
        if (isWritten(type, each, hasAlpha))
            choices += (choices.empty() ? "" : ", ") + nameOf(each);
    fail(type.extensions.front(), " files", hasAlpha ? " with alpha" : "",
         " are not written in --depth ", nameOf(depth), "; choose ", choices);
}

}
