#pragma once

#include "imaging/PartialPicture.h"
#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <string>
#include <vector>

// Small views of all pictures on one page, each with its name and its facts below. Transparent
// pictures lie on a checkerboard.
class ContactSheet
{
public:
    void add(const Picture& picture, const std::string& name);

    // The same for blue, green, red and alpha; `depth` is the bits per sample of the file.
    void add(const PartialPicture& picture, int depth, const std::string& name);

    bool empty() const { return m_views.empty(); }

    // Throws a std::runtime_error.
    void write(const std::filesystem::path& path) const;

private:
    struct View
    {
        cv::Mat image;  // RGB, 8 bits
        std::string name;
        std::string facts;
    };

    // A view in red, green, blue and alpha.
    void add(const cv::Mat& view, cv::Size size, int depth, const std::string& name);

    std::vector<View> m_views;
};
