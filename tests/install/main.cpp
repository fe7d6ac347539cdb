#include <MediaConversion/Encoder/Encoder.h>
#include <MediaConversion/MediaPipeline/Formats.h>
#include <MediaConversion/MediaPipeline/Frames.h>

// White in 10 bits becomes white in float.
int main()
{
    using namespace Velmora::Formats;
    const auto frame = MediaConversion::convert(
        Velmora::frameOver(RGB_DPX_FILLED(), cv::Mat(1, 1, CV_32SC1, cv::Scalar(-1))), BGRA_F32());
    return frame->image().at<cv::Vec4f>(0, 0) == cv::Vec4f(1, 1, 1, 1) ? 0 : 1;
}
