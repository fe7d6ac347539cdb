#include <MediaConversion/Encoder/Encoder.h>
#include <MediaConversion/MediaPipeline/Formats.h>
#include <MediaConversion/MediaPipeline/Frames.h>

#include <memory>

// White in 10 bits becomes white in float.
int main()
{
    using namespace Velmora;

    MediaConversion::FrameSinkDestination result;
    MediaConversion::Encoder encoder(Formats::RGB_DPX_FILLED(), Formats::BGRA_F32());
    encoder.connectFrameSink(&result);
    encoder.start();
    encoder.onNewFrame(std::make_unique<PackedFrame>(Formats::RGB_DPX_FILLED(),
                                                     cv::Mat(1, 1, CV_32SC1, cv::Scalar(-1))));
    encoder.stop();
    const auto frame = result.takeFrame();
    const auto& image = dynamic_cast<const IImageFrame&>(*frame).image();
    return image.at<cv::Vec4f>(0, 0) == cv::Vec4f(1, 1, 1, 1) ? 0 : 1;
}
