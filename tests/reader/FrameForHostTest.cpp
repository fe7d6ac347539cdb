#include "reader/FrameForHost.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ExpectError.h"

#include <stdexcept>

using Velmora::ChannelType;

// No media file has such a format today.
TEST(HostDepth, isRefusedForMoreThan12Bits)
{
    const struct
    {
        ChannelType channelType;
        const char* text;
    } cases[] = {
        {ChannelType::U15plus1, "Unsupported channel type U15plus1"},
        {ChannelType::U16, "Unsupported channel type U16"},
        {ChannelType::F32, "Unsupported channel type F32"},
        {ChannelType{6}, "Unsupported channel type (Unknown ChannelType 6)"},
    };
    for (const auto& [channelType, text] : cases)
        expectError<std::runtime_error>(text, [&, type = channelType] { hostDepth(type); });
}

TEST(HostImage, isNeverATexture)
{
    class TextureFrame final : public Velmora::ITextureFrame
    {
        const Velmora::FrameFormat& format() const override { return m_format; }
        Velmora::FrameFormat m_format = Velmora::Formats::BGRA_F32();
    };
    const TextureFrame frame;
    expectError<std::runtime_error>("Unsupported input frame type!", [&] { hostImage(&frame); });
}
