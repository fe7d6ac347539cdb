#pragma once

#include "DDImage/ChannelSet.h"

#include <array>
#include <vector>

namespace DD::Image {

// The columns x to r - 1 of one picture row, channel by channel.
class Row
{
public:
    Row(int x, int r);

    int x() const { return m_x; }
    int r() const { return m_r; }

    // Pointers that are indexed by the column: valid from [x] to [r - 1].
    float* writable(Channel channel);
    const float* operator[](Channel channel) const;

private:
    int m_x;
    int m_r;
    std::array<std::vector<float>, Chan_Alpha + 1> m_channels;
};

}
