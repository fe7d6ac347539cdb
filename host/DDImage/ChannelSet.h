#pragma once

namespace DD::Image {

enum Channel : unsigned
{
    Chan_Black = 0,
    Chan_Red = 1,
    Chan_Green = 2,
    Chan_Blue = 3,
    Chan_Alpha = 4,
};

// Bit n - 1 stands for channel n.
enum ChannelSetInit : unsigned
{
    Mask_None = 0,
    Mask_RGBA = 15,
};

class ChannelSet
{
public:
    constexpr ChannelSet(ChannelSetInit mask = Mask_None) : m_mask(mask) {}

    constexpr bool contains(Channel channel) const
    {
        return channel != Chan_Black && (m_mask >> (channel - 1) & 1) != 0;
    }

    bool operator==(const ChannelSet&) const = default;

private:
    unsigned m_mask;
};

using ChannelMask = const ChannelSet&;

}
