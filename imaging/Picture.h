#pragma once

#include "imaging/OutsideValues.h"

#include <opencv2/core/mat.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Imaging {

// How the samples of a picture are stored in a file: as whole numbers of so many bits, or as floats
// of 16 or 32 bits.
enum class SampleDepth
{
    U8,
    U10,
    U12,
    U16,
    F16,
    F32,
};

// A row of the table of depths.
struct DepthFacts
{
    SampleDepth depth;
    const char* name;  // as people ask for it
    int bits;
    int wholeBits;  // whole numbers of so many bits are kept apart
    bool isFloat;
};

// Half floats have 11 significant bits.
//
// clang-format off
inline constexpr std::array<DepthFacts, 6> sampleDepths{{
    // depth           name     bits whole isFloat
    {SampleDepth::U8,  "8",      8,  8, false},
    {SampleDepth::U10, "10",    10, 10, false},
    {SampleDepth::U12, "12",    12, 12, false},
    {SampleDepth::U16, "16",    16, 16, false},
    {SampleDepth::F16, "half",  16, 11, true },
    {SampleDepth::F32, "float", 32, 24, true },
}};
// clang-format on

constexpr const DepthFacts& factsOf(SampleDepth depth)
{
    return *std::ranges::find(sampleDepths, depth, &DepthFacts::depth);
}

// A picture between a file and a frame. A file may store only a part of it; the rest of it is 0.
// The part may also reach beyond the picture: what lies there is not shown.
struct Picture
{
    cv::Mat pixels;        // of the stored part: blue, green, red and alpha in float
    cv::Point2l position;  // of the stored part's upper left pixel in the picture
    cv::Size size;         // of the picture
    SampleDepth depth = SampleDepth::F32;
    bool hasAlpha = true;   // without alpha it is opaque
    std::string time = {};  // that its file is to say, "2001:12:31 23:59:59", or none
};

// What a file says of its picture before the pixels are read.
struct PictureFacts
{
    cv::Size size;    // of the picture
    cv::Size stored;  // of the part that the file stores, as far as its headers tell
    SampleDepth depth = SampleDepth::F32;
    bool hasAlpha = false;
    bool isExr = false;
    std::vector<std::string> leftOut = {};  // the names of channels that are no part of the picture
    std::uint64_t byteCount = 0;            // that reading takes, the stored part in float included
};

// How a picture is read.
struct ReadingOptions
{
    float factor = 1;              // multiplies the colours
    bool isPremultiplied = false;  // the colours of an EXR file are to be divided by its alpha
    std::string layer = {};        // whose channels are the picture, or one that can be told
};

// What becomes of values above 1, which are highlights.
enum class Highlights
{
    kept,
    limited,  // to 1
};

// A file whose pixels are still to be read.
class IPictureFile
{
public:
    virtual ~IPictureFile() = default;

    virtual const PictureFacts& facts() const = 0;

    // Once only. Throws a std::exception.
    virtual Picture read(Highlights highlights) = 0;

    // Reads the first and the last rows, of which some kinds of files have the one and some the
    // other at their end. Throws a std::exception where they are missing. Not beside read().
    virtual void checkEnds() = 0;

    // What was outside 0 to 1 of the shown part of the picture that was read, before its highlights
    // were limited.
    virtual const OutsideValues& outside() const = 0;
};

// The part of a picture that is both stored and shown.
struct ShownPart
{
    cv::Mat pixels;
    cv::Rect place;  // in the picture
};

ShownPart shownPart(const Picture& picture);

// Throws a std::runtime_error when a header claims more than `mayBeFilledUp` lets pass.
void checkMayBeFilledUp(cv::Size size, cv::Size stored);

// All pixels; the stored ones themselves where they are the whole picture. Throws as above.
cv::Mat whole(const Picture& picture);

// How a picture has to be turned to be upright, by the number that EXIF has for it: first its rows
// become columns, then their order is reversed.
struct Turn
{
    explicit Turn(int orientation);

    bool isNone() const { return !transposes && !reversesColumns && !reversesRows; }
    cv::Size applied(cv::Size size) const;

    bool transposes;
    bool reversesColumns;
    bool reversesRows;
};

Picture turned(const Picture& picture, const Turn& turn);

// The picture reduced so that its longer side has at most so many pixels, without ever being built
// as a whole; a smaller one keeps its size. Colours count as much as they show: where a pixel is
// transparent, its colour means nothing.
Picture reduced(const Picture& picture, int longerSide);

}
