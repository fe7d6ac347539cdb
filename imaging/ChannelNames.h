#pragma once

#include <string>
#include <vector>

namespace Imaging {

// Which of a file's channels make up its picture, counted from 0. Those of a grey are the same one.
struct ChannelPlaces
{
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = -1;                    // none: the picture is opaque
    std::vector<std::string> leftOut;  // the names of all other channels

    bool hasAlpha() const { return alpha >= 0; }
};

// Finds R, G, B or Y, and A beside them where it is there. The names in a layer have its name in
// front: "diffuse.R". Without a `layer`, the channels of none are taken, or those of the only layer
// that has a picture. Throws a std::runtime_error, of one line, that says what is there instead.
ChannelPlaces channelPlaces(const std::vector<std::string>& names, const std::string& layer);

// Whether channels of such names have a picture in this layer.
bool hasLayer(const std::vector<std::string>& names, const std::string& layer);

// "Z, N.x, N.y", or the first few and how many more there are.
std::string listedNames(const std::vector<std::string>& names);

}
