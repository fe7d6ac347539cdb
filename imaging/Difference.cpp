#include "imaging/Difference.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace Imaging {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Where red, green, blue and alpha lie in a pixel.
constexpr std::array<int, 4> places = {2, 1, 0, 3};

double deviationOf(float sample, float other)
{
    const bool isSame = sample == other || (std::isnan(sample) && std::isnan(other));
    if (isSame)
        return 0;
    if (!std::isfinite(sample) || !std::isfinite(other))
        return infinity;
    return std::abs(double{sample} - double{other});
}

std::size_t channelCountOf(const Picture& picture, const Picture& other)
{
    return picture.hasAlpha || other.hasAlpha ? 4 : 3;
}

template <class Operation>
void forEachPairOfRows(const Picture& picture, const Picture& other, const Operation& operation)
{
    const cv::Mat pixels = whole(picture);
    const cv::Mat otherPixels = whole(other);
    cv::parallel_for_(cv::Range(0, pixels.rows), [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row)
            operation(row, pixels.ptr<cv::Vec4f>(row), otherPixels.ptr<cv::Vec4f>(row));
    });
}

cv::Vec4f ordered(const cv::Vec4f& pixel)
{
    return {pixel[places[0]], pixel[places[1]], pixel[places[2]], pixel[places[3]]};
}

}

double Deviation::mean() const
{
    return samples ? sum / static_cast<double>(samples) : 0;
}

double Deviation::rootMeanSquare() const
{
    return samples ? std::sqrt(squares / static_cast<double>(samples)) : 0;
}

double Deviation::peakSignalToNoise() const
{
    return 20 * std::log10(peak / rootMeanSquare());
}

void Deviation::add(double deviation, double sample, double otherSample)
{
    ++samples;
    largest = std::max(largest, deviation);
    sum += deviation;
    squares += deviation * deviation;
    for (const double value : {sample, otherSample})
        if (value > peak && value != infinity)
            peak = value;
}

void Deviation::add(const Deviation& deviation)
{
    samples += deviation.samples;
    largest = std::max(largest, deviation.largest);
    sum += deviation.sum;
    squares += deviation.squares;
    peak = std::max(peak, deviation.peak);
}

Deviation Difference::ofAll() const
{
    Deviation all;
    for (const auto& channel : ofChannels)
        all.add(channel);
    return all;
}

Difference differenceOf(const Picture& picture, const Picture& other)
{
    if (picture.size != other.size)
        throw std::runtime_error("pictures of different sizes cannot be compared");
    const auto channelCount = channelCountOf(picture, other);
    // The sums of the rows are added in their order, so that the result does not depend on threads.
    std::vector<Difference> rows(static_cast<std::size_t>(picture.size.height));
    forEachPairOfRows(
        picture, other, [&](int row, const cv::Vec4f* pixels, const cv::Vec4f* others) {
            auto& difference = rows[static_cast<std::size_t>(row)];
            double largest = 0;
            for (int column = 0; column < picture.size.width; ++column)
                for (std::size_t channel = 0; channel < channelCount; ++channel) {
                    const float sample = pixels[column][places[channel]];
                    const float otherSample = others[column][places[channel]];
                    const double deviation = deviationOf(sample, otherSample);
                    difference.ofChannels[channel].add(deviation, sample, otherSample);
                    if (deviation > largest) {
                        largest = deviation;
                        difference.worst = {{column, row},
                                            channel,
                                            ordered(pixels[column]),
                                            ordered(others[column])};
                    }
                }
        });

    Difference difference{picture.size, channelCount, {}, {}};
    double largest = 0;
    for (const auto& row : rows) {
        if (row.ofAll().largest > largest) {
            largest = row.ofAll().largest;
            difference.worst = row.worst;
        }
        for (std::size_t channel = 0; channel < channelCount; ++channel)
            difference.ofChannels[channel].add(row.ofChannels[channel]);
    }
    return difference;
}

cv::Mat largestDeviations(const Picture& picture, const Picture& other)
{
    const auto channelCount = channelCountOf(picture, other);
    cv::Mat deviations(picture.size, CV_32FC1);
    forEachPairOfRows(
        picture, other, [&](int row, const cv::Vec4f* pixels, const cv::Vec4f* others) {
            for (int column = 0; column < picture.size.width; ++column) {
                double largest = 0;
                for (std::size_t channel = 0; channel < channelCount; ++channel)
                    largest = std::max(largest, deviationOf(pixels[column][places[channel]],
                                                            others[column][places[channel]]));
                deviations.at<float>(row, column) = static_cast<float>(largest);
            }
        });
    return deviations;
}

}
