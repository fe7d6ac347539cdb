#include "MediaConversion/MediaPipeline/Filters.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/support/ExpectError.h"

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

template <class Filter>
std::unique_ptr<Velmora::IFrame> convert(std::unique_ptr<Velmora::IFrame> frame,
                                         const Velmora::FrameFormat& destination = BGRA_U8())
{
    FrameSinkDestination sink;
    Filter filter(destination);
    filter.connectFrameSink(&sink);
    filter.start();
    filter.onNewFrame(std::move(frame));
    return sink.takeFrame();
}

TEST(ConvertNoOperation, passesFramesOfItsFormatOn)
{
    auto frame = std::make_unique<OtherFrame>(ZEQ_422());
    const Velmora::IFrame* const passedIn = frame.get();
    EXPECT_EQ(convert<ConvertNoOperation>(std::move(frame), ZEQ_422()).get(), passedIn);

    auto narrower = BGRA_U8();
    narrower.pixelPacking.columnsPerGroup = 2;
    for (const auto& [format, text] : {
             std::pair(BGRA_F32(),
                       "Source format RGBA_F32_BGRA does not match destination format "
                       "RGBA_U8_BGRA"),
             std::pair(narrower,
                       "Source format RGBA_U8_BGRA does not match destination format "
                       "RGBA_U8_BGRA"),
         }) {
        std::weak_ptr<int> life;
        auto other = std::make_unique<OtherFrame>(format, &life);
        expectError<std::runtime_error>(
            text, [&] { convert<ConvertNoOperation>(std::move(other), BGRA_U8()); });
        EXPECT_TRUE(life.expired());
    }
}

// What a filter says to an image that is neither full nor packed, and to a texture.
template <class Filter>
void expectRefusals(const char* ofImage, const char* ofTexture)
{
    const auto expectRefusal = [](const char* text, std::unique_ptr<Velmora::IFrame> frame) {
        expectError<std::runtime_error>(text, [&] { convert<Filter>(std::move(frame)); });
    };
    expectRefusal(ofImage, std::make_unique<WatchedImage>(ZEQ_420()));
    expectRefusal(ofTexture, std::make_unique<TextureFrame>(ZEQ_420()));
    expectRefusal("no image data in frame",
                  std::make_unique<WatchedImage>(ZEQ_420(), nullptr, cv::Mat()));
    expectRefusal("frame is not an IImageFrame or ITextureFrame",
                  std::make_unique<OtherFrame>(ZEQ_420()));
}

TEST(Filters, refuseWhatTheirProcessorsRefuse)
{
    const char* const full = "Can only convert FullFrame images";
    const char* const noTextures = "NullTextureProcessor::onNewTexture not implemented";
    const char* const noOpenGl = "Not built with OpenGL support";
    expectRefusals<ConvertBitDepth>(full, noTextures);
    expectRefusals<ConvertColourspace>(full, noTextures);
    expectRefusals<ConvertToPackedFrame>(full, noOpenGl);
    expectRefusals<ConvertRGBtoYCbCr42x>(full, noOpenGl);
    expectRefusals<ConvertRGBtoYCoCgDXT5>(full, noOpenGl);
    expectRefusals<ConvertToFullFrame>("Can only convert packed images", noOpenGl);
    expectRefusals<ConvertYCbCr42xToRGB>("Can only convert PackedFrame images", noOpenGl);
    expectRefusals<ConvertYCoCgDXT5toRGB>("Can only convert PackedFrame images", noOpenGl);
}

}
}
