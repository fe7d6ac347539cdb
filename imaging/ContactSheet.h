#pragma once

#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace Imaging {

struct HostPicture;

// Small views of pictures on one page.
class IContactSheet
{
public:
    virtual ~IContactSheet() = default;

    virtual void add(const Picture& picture, const std::string& name) = 0;

    // Throws a std::runtime_error.
    virtual void write(const std::filesystem::path& path) const = 0;
};

// Views of all pictures, each with its name and its facts below. Transparent pictures lie on a
// checkerboard.
class ContactSheet final : public IContactSheet
{
public:
    void add(const Picture& picture, const std::string& name) override;
    void add(const HostPicture& picture, const std::string& name);

    bool empty() const { return m_views.empty(); }

    void write(const std::filesystem::path& path) const override;

private:
    struct View
    {
        cv::Mat image;  // RGB, 8 bits
        std::string name;
        std::string facts;
    };

    void add(const cv::Mat& view, cv::Size size, int bits, const std::string& name);

    std::vector<View> m_views;
};

}
