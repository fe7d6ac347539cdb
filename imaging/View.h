#pragma once

#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <string>

namespace Imaging {

struct HostPicture;

// The longer side of a view when nothing else is asked for.
inline constexpr int usualViewSide = 360;

// A picture on a contact sheet: small, with its name and its facts below. Transparent ones lie on a
// checkerboard. A file that cannot be read has a message in place of a picture.
struct View
{
    cv::Mat image;  // RGB, 8 bits
    std::string name;
    std::string facts;
    std::string message = {};
};

// `size` is that of the picture before it was reduced.
View viewOf(const Picture& reduced, cv::Size size, const std::string& name);
View viewOf(const HostPicture& picture, const std::string& name);

View failedView(const std::string& name, std::string message);

}
