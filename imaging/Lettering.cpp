#include "imaging/Lettering.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <opencv2/imgproc.hpp>

namespace Imaging {

namespace {

const char* const font = "DejaVuSans";

constexpr int strokeFont = cv::FONT_HERSHEY_SIMPLEX;

double strokeScale(int size)
{
    return size / 30.0;
}

bool fontExists()
{
    static const bool exists = OIIO::ImageBufAlgo::text_size("x", 12, font).defined();
    return exists;
}

}

int textWidth(const std::string& text, int size)
{
    if (fontExists())
        return OIIO::ImageBufAlgo::text_size(text, size, font).width();
    return cv::getTextSize(text, strokeFont, strokeScale(size), 1, nullptr).width;
}

void drawText(cv::Mat& canvas, const std::string& text, cv::Point position, int size, int grey)
{
    if (!fontExists()) {
        cv::putText(canvas, text, position, strokeFont, strokeScale(size), cv::Scalar::all(grey), 1,
                    cv::LINE_AA);
        return;
    }
    const OIIO::ImageSpec description(canvas.cols, canvas.rows, 3, OIIO::TypeDesc::UINT8);
    OIIO::ImageBuf image(description, canvas.data);
    const float brightness = static_cast<float>(grey) / 255;
    const float colour[] = {brightness, brightness, brightness};
    OIIO::ImageBufAlgo::render_text(image, position.x, position.y, text, size, font, colour);
}

std::string drawable(const std::string& text)
{
    std::string ascii;
    for (const char byte : text) {
        const bool isContinuation = (byte & 0xC0) == 0x80;
        if (byte >= ' ' && byte <= '~')
            ascii += byte;
        else if (!isContinuation)
            ascii += '?';
    }
    return ascii;
}

std::string shortened(std::string text, int size, int width)
{
    if (textWidth(text, size) <= width)
        return text;
    while (!text.empty() && textWidth(text + "...", size) > width)
        text.pop_back();
    return text + "...";
}

}
