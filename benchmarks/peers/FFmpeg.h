#pragma once

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

// What the parts of FFmpeg share.
namespace Benchmarks::Peers {

// Throws for the negative results by which FFmpeg reports failures; passes others through.
inline int checked(int result)
{
    if (result < 0) {
        char text[AV_ERROR_MAX_STRING_SIZE];
        throw std::runtime_error("FFmpeg: " +
                                 std::string(av_make_error_string(text, sizeof text, result)));
    }
    return result;
}

// A deleter out of one of FFmpeg's functions, which take the address of the pointer.
template <auto release>
struct Release
{
    template <class Object>
    void operator()(Object* object) const
    {
        release(&object);
    }
};

using Frame = std::unique_ptr<AVFrame, Release<av_frame_free>>;

// A frame still to be written, of the format and size.
inline Frame newFrame(int pixelFormat, const cv::Size& size)
{
    Frame frame(av_frame_alloc());
    frame->format = pixelFormat;
    frame->width = size.width;
    frame->height = size.height;
    checked(av_frame_get_buffer(frame.get(), 0));
    return frame;
}

// A matrix over a plane of the frame.
inline cv::Mat plane(const AVFrame& frame, int index, const cv::Size& size, int type)
{
    return cv::Mat(size, type, frame.data[index], static_cast<std::size_t>(frame.linesize[index]));
}

}
