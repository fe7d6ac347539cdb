#include "DDImage/Row.h"

#include <algorithm>
#include <cstddef>

namespace DD::Image {

Row::Row(int x, int r) : m_x(x), m_r(r)
{
    // Never without an element, so that there is an address to count from.
    const int columns = std::max(r - x, 1);
    for (auto& channel : m_channels)
        channel.resize(static_cast<std::size_t>(columns));
}

float* Row::writable(Channel channel)
{
    return m_channels.at(channel).data() - m_x;
}

const float* Row::operator[](Channel channel) const
{
    return m_channels.at(channel).data() - m_x;
}

}
