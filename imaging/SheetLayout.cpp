#include "imaging/SheetLayout.h"

#include <algorithm>
#include <cmath>

namespace Imaging {

namespace {

constexpr int narrowestColumn = 220;
constexpr int leastMessageHeight = 124;
constexpr double landscape = 1.6;  // width to height of a page, roughly

// JPEG has the least: 65,500 pixels a side. A page that is not asked for has 256 Mi pixels at most,
// 768 MiB of memory.
constexpr int longestSide = 65'500;
constexpr std::int64_t largestArea = std::int64_t{1} << 28;

cv::Size cellOf(cv::Size view)
{
    return {std::max(view.width, narrowestColumn) + cellGap, view.height + captionHeight + cellGap};
}

cv::Size largestCell(int largestView)
{
    return cellOf({largestView, largestView});
}

int sideOf(int cells, int cellSide)
{
    return 2 * sheetMargin - cellGap + cells * cellSide;
}

int mostCells(int cellSide)
{
    return std::max(1, (longestSide - sideOf(0, cellSide)) / cellSide);
}

}

int mostColumns(int largestView)
{
    return mostCells(largestCell(largestView).width);
}

int mostRows(int largestView)
{
    return mostCells(largestCell(largestView).height);
}

PageLayout pageLayout(int largestView, int columns, int rows)
{
    if (rows && !columns) {
        const auto cell = cellOf({largestView, largestView * 9 / 16});
        columns = std::clamp(cvRound(landscape * rows * cell.height / cell.width), 1,
                             mostColumns(largestView));
    }
    const auto cell = largestCell(largestView);
    const auto most = std::max<std::int64_t>(1, largestArea / cell.width / cell.height);
    if (!columns)
        return {0, static_cast<std::size_t>(most)};
    if (!rows)
        rows = std::clamp(static_cast<int>(most / columns), 1, mostRows(largestView));
    return {columns, static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)};
}

Page::Page(const std::vector<View>& views, int wantedColumns)
{
    for (const auto& each : views) {
        view.width = std::max(view.width, each.image.cols);
        view.height =
            std::max({view.height, each.image.rows, each.message.empty() ? 0 : leastMessageHeight});
    }
    view.width = std::max(view.width, narrowestColumn);
    const int count = static_cast<int>(views.size());
    const double ofScreen = std::sqrt(count * landscape * cell().height / cell().width);
    columns =
        std::clamp(wantedColumns ? wantedColumns : static_cast<int>(std::ceil(ofScreen)), 1, count);
    const int rows = (count + columns - 1) / columns;
    size = {sideOf(columns, cell().width), sideOf(rows, cell().height)};
}

std::uint64_t Page::byteCount() const
{
    return 3 * static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height);
}

cv::Size Page::cell() const
{
    return cellOf(view);
}

cv::Point Page::cellAt(std::size_t index) const
{
    const int place = static_cast<int>(index);
    return {sheetMargin + place % columns * cell().width,
            sheetMargin + place / columns * cell().height};
}

}
