#include "imaging/Colours.h"

#include <cmath>

namespace Imaging {

namespace {

template <class Change>
void changeColours(cv::Vec4f* pixels, int count, const Change& change)
{
    for (auto* pixel = pixels; pixel != pixels + count; ++pixel)
        for (int channel = 0; channel < 3; ++channel)
            (*pixel)[channel] = change((*pixel)[channel], (*pixel)[3]);
}

}

void scaleColours(cv::Vec4f* pixels, int count, float factor)
{
    changeColours(pixels, count, [factor](float colour, float) { return colour * factor; });
}

// An infinite colour does not show where alpha is 0.
void multiplyByAlpha(cv::Vec4f* pixels, int count)
{
    changeColours(pixels, count,
                  [](float colour, float alpha) { return alpha == 0 ? 0 : colour * alpha; });
}

void divideByAlpha(cv::Vec4f* pixels, int count)
{
    changeColours(pixels, count,
                  [](float colour, float alpha) { return alpha == 0 ? colour : colour / alpha; });
}

void encodeSrgb(cv::Vec4f* pixels, int count)
{
    changeColours(pixels, count, [](float colour, float) {
        return colour <= 0.0031308f ? colour * 12.92f
                                    : 1.055f * std::pow(colour, 1 / 2.4f) - 0.055f;
    });
}

}
