#pragma once

#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace Imaging {

struct HostPicture;

// A picture on a contact sheet: small, with its name and its facts below. Transparent ones lie on a
// checkerboard.
struct View
{
    cv::Mat image;  // RGB, 8 bits
    std::string name;
    std::string facts;
};

View viewOf(const Picture& picture, const std::string& name);
View viewOf(const HostPicture& picture, const std::string& name);

// Writes all views, of which there is one at least, on one page. Throws a std::runtime_error.
void writeContactSheet(const std::string& fileName, const std::vector<View>& views);

}
