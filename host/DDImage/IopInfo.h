#pragma once

#include "DDImage/ChannelSet.h"

namespace DD::Image {

// What the host knows of a picture before it asks for rows.
class IopInfo
{
public:
    int width() const { return m_width; }
    int height() const { return m_height; }
    double pixelAspect() const { return m_pixelAspect; }
    ChannelMask channels() const { return m_channels; }

    void size(int width, int height, double pixelAspect)
    {
        m_width = width;
        m_height = height;
        m_pixelAspect = pixelAspect;
    }

    void channels(ChannelMask channels) { m_channels = channels; }

private:
    int m_width = 0;
    int m_height = 0;
    double m_pixelAspect = 1.0;
    ChannelSet m_channels;
};

}
