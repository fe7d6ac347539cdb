#pragma once

#include "imaging/PartialPicture.h"
#include "imaging/SampleDepth.h"

#include <cstdint>
#include <memory>
#include <string>

// What a picture file says of itself.
struct PictureFacts
{
    cv::Size size;    // of its display window, which is the picture
    cv::Size stored;  // of the pixels that it has
    SampleDepth depth = SampleDepth::F32;
    bool hasAlpha = false;
    std::uint64_t byteCount = 0;  // that reading takes
};

// A picture file of any kind that OpenImageIO reads. All failures are std::runtime_errors.
class PictureInput
{
public:
    // Refuses files of more than four channels and those that are too small for what they claim.
    explicit PictureInput(const std::string& fileName);
    ~PictureInput();

    PictureInput(const PictureInput&) = delete;
    PictureInput& operator=(const PictureInput&) = delete;

    const PictureFacts& facts() const { return m_facts; }

    // Blue, green, red and alpha in float, values as they are stored: alpha is not multiplied into
    // the colours and no colour conversion takes place. One channel is a grey and two are a grey
    // and its alpha; what has no alpha is opaque.
    PartialPicture read();

private:
    struct File;

    std::unique_ptr<File> m_file;
    PictureFacts m_facts;
};
