#include "imaging/Picture.h"

#include "imaging/PictureLimits.h"

#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Imaging {

namespace {

using LongRect = cv::Rect_<std::int64_t>;

std::uint64_t pixelCount(cv::Size size)
{
    return static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height);
}

std::string textOf(cv::Size size)
{
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

// A pixel falls to one pixel of the view, or in two parts to one and the next.
struct Share
{
    int place;
    float part;
    float partOfNext;
};

// Those of a row or column of `length` pixels of which `count` are stored.
std::vector<Share> shares(std::int64_t first, std::int64_t count, int length, int viewLength)
{
    const double scale = double(viewLength) / length;
    std::vector<Share> shares;
    shares.reserve(static_cast<std::size_t>(count));
    for (auto pixel = first; pixel < first + count; ++pixel) {
        const double begin = static_cast<double>(pixel) * scale;
        const int place = std::min(static_cast<int>(begin), viewLength - 1);
        // Just where the next pixel begins: it then has the place that this one reached.
        const double end = static_cast<double>(pixel + 1) * scale;
        const double beyond = std::max(0.0, end - (place + 1));
        const double partOfNext = place + 1 < viewLength ? beyond : 0;
        shares.push_back({place, float(end - begin - partOfNext), float(partOfNext)});
    }
    return shares;
}

// The colours, multiplied by alpha, and alpha itself of what falls to one pixel of the view.
struct Sum
{
    cv::v_float32x4 colours = cv::v_setzero_f32();
    float alpha = 0;

    // A colour that does not show may be infinite or no number.
    void add(const cv::v_float32x4& pixel, float pixelAlpha, float part)
    {
        if (pixelAlpha == 0)
            return;
        colours = cv::v_muladd(pixel, cv::v_setall_f32(pixelAlpha * part), colours);
        alpha += pixelAlpha * part;
    }

    // Adds itself to a sum over several rows, weighted by the row's share, and starts again.
    void moveTo(cv::Vec4d& total, double weight)
    {
        cv::Vec4f values;
        cv::v_store(values.val, colours);
        values[3] = alpha;
        total += weight * cv::Vec4d(values);
        *this = {};
    }
};

void addRow(const cv::Vec4f* pixels, const std::vector<Share>& columns, double weight,
            std::vector<cv::Vec4d>& totals)
{
    Sum sum;
    auto* total = &totals[static_cast<std::size_t>(columns.front().place)];
    auto place = columns.front().place;
    const auto finishPlace = [&] {
        sum.moveTo(*total++, weight);
        ++place;
    };
    for (const auto& column : columns) {
        if (column.place != place)
            finishPlace();
        const auto pixel = cv::v_load(pixels->val);
        const float alpha = (*pixels++)[3];
        sum.add(pixel, alpha, column.part);
        if (column.partOfNext > 0) {
            finishPlace();
            sum.add(pixel, alpha, column.partOfNext);
        }
    }
    sum.moveTo(*total, weight);
}

cv::Vec4f withoutAlpha(const cv::Vec4d& sum)
{
    const double alpha = sum[3] > 0 ? sum[3] : 1;
    return {float(sum[0] / alpha), float(sum[1] / alpha), float(sum[2] / alpha), float(sum[3])};
}

}

ShownPart shownPart(const Picture& picture)
{
    const LongRect stored(picture.position.x, picture.position.y, picture.pixels.cols,
                          picture.pixels.rows);
    const auto place = stored & LongRect(0, 0, picture.size.width, picture.size.height);
    if (place.empty())
        return {};
    const LongRect inStored(place.x - stored.x, place.y - stored.y, place.width, place.height);
    return {picture.pixels(cv::Rect(inStored)), cv::Rect(place)};
}

void checkMayBeFilledUp(cv::Size size, cv::Size stored)
{
    if (!mayBeFilledUp(pixelCount(size), pixelCount(stored)))
        throw std::runtime_error("is a picture of " + textOf(size) + " pixels of which " +
                                 textOf(stored) +
                                 " are stored; of one so large, at least a pixel in 16 has to be");
}

cv::Mat whole(const Picture& picture)
{
    if (picture.pixels.size() == picture.size && picture.position == cv::Point2l())
        return picture.pixels;
    checkMayBeFilledUp(picture.size, picture.pixels.size());
    cv::Mat filledUp = cv::Mat::zeros(picture.size, picture.pixels.type());
    if (const auto shown = shownPart(picture); !shown.place.empty())
        shown.pixels.copyTo(filledUp(shown.place));
    return filledUp;
}

// Numbers that EXIF does not have mean an upright picture.
Turn::Turn(int orientation)
    : transposes(5 <= orientation && orientation <= 8),
      reversesColumns(orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7),
      reversesRows(orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8)
{
}

cv::Size Turn::applied(cv::Size size) const
{
    return transposes ? cv::Size(size.height, size.width) : size;
}

Picture turned(const Picture& picture, const Turn& turn)
{
    auto result = picture;
    if (turn.transposes) {
        result.pixels = picture.pixels.t();
        result.position = {picture.position.y, picture.position.x};
        result.size = turn.applied(picture.size);
    }
    const auto& stored = result.pixels;
    if (turn.reversesColumns)
        result.position.x = result.size.width - stored.cols - result.position.x;
    if (turn.reversesRows)
        result.position.y = result.size.height - stored.rows - result.position.y;
    if (turn.reversesColumns || turn.reversesRows) {
        cv::Mat reversed;
        cv::flip(stored, reversed,
                 turn.reversesColumns && turn.reversesRows ? -1 : turn.reversesColumns);
        result.pixels = reversed;
    }
    return result;
}

Picture reduced(const Picture& picture, int longerSide)
{
    const int side = std::max(picture.size.width, picture.size.height);
    if (side <= longerSide)
        return {whole(picture), {}, picture.size, picture.depth, picture.hasAlpha};
    const double scale = double(longerSide) / side;
    const cv::Size size(std::max(1, cvRound(picture.size.width * scale)),
                        std::max(1, cvRound(picture.size.height * scale)));
    Picture view{
        cv::Mat::zeros(size, picture.pixels.type()), {}, size, picture.depth, picture.hasAlpha};
    const auto shown = shownPart(picture);
    if (shown.place.empty())
        return view;
    const auto columns = shares(shown.place.x, shown.place.width, picture.size.width, size.width);
    const auto rows = shares(shown.place.y, shown.place.height, picture.size.height, size.height);
    cv::parallel_for_(cv::Range(0, size.height), [&](const cv::Range& places) {
        for (int place = places.start; place < places.end; ++place) {
            std::vector<cv::Vec4d> sums(static_cast<std::size_t>(size.width));
            auto row = std::ranges::lower_bound(rows, place - 1, {}, &Share::place);
            for (; row != rows.end() && row->place <= place; ++row)
                if (const auto part = row->place == place ? row->part : row->partOfNext; part > 0)
                    addRow(shown.pixels.ptr<cv::Vec4f>(static_cast<int>(row - rows.begin())),
                           columns, part, sums);
            std::ranges::transform(sums, view.pixels.ptr<cv::Vec4f>(place), withoutAlpha);
        }
    });
    return view;
}

}
