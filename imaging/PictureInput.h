#pragma once

#include "imaging/SampleDepth.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <string>

// What a picture file says of itself.
struct PictureFacts
{
    int width = 0;
    int height = 0;
    SampleDepth depth = SampleDepth::F32;
    bool hasAlpha = false;
    std::uint64_t byteCount = 0;  // that reading takes beside the picture itself
};

// A picture file of any kind that OpenImageIO reads. All failures are std::runtime_errors.
class PictureInput
{
public:
    // Refuses files of more than four channels.
    explicit PictureInput(const std::string& fileName);
    ~PictureInput();

    PictureInput(const PictureInput&) = delete;
    PictureInput& operator=(const PictureInput&) = delete;

    const PictureFacts& facts() const { return m_facts; }

    // Blue, green, red and alpha in float, values as they are stored: alpha is not multiplied into
    // the colours and no colour conversion takes place. One channel is a grey and two are a grey
    // and its alpha; what has no alpha is opaque. The picture is as large as its display window:
    // what the file has beyond is cut off, what it lacks is 0.
    cv::Mat read();

private:
    struct File;

    std::unique_ptr<File> m_file;
    PictureFacts m_facts;
};
