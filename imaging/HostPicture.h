#pragma once

#include <cstddef>
#include <vector>

namespace Imaging {

// A picture as a host's reader gave it: float samples, red, green, blue and alpha interleaved, the
// rows from the top down. It needs no other library than the standard one, as the host.
struct HostPicture
{
    static constexpr int channels = 4;

    int width = 0;
    int height = 0;
    int depth = 0;  // bits per sample of the file
    std::vector<float> pixels;

    const float* pixel(int column, int row) const
    {
        return pixels.data() + (std::size_t(row) * std::size_t(width) + std::size_t(column)) *
                                   std::size_t(channels);
    }
};

}
