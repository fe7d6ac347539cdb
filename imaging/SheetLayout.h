#pragma once

#include "imaging/View.h"

#include <opencv2/core/types.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

// Where the views of a contact sheet stand, in pixels.
namespace Imaging {

inline constexpr int sheetMargin = 40;
inline constexpr int cellGap = 28;
inline constexpr int captionHeight = 50;

// How many views stand beside each other, or 0 where that follows from their shape, and how many
// are on a page.
struct PageLayout
{
    int columns;
    std::size_t views;
};

// Columns or rows of 0 are left open: a page then has the shape of a screen and takes as many views
// as a picture may have that others can still open.
PageLayout pageLayout(int largestView, int columns, int rows);

// How many views of this size fit beside and below each other on a page of any kind of file.
int mostColumns(int largestView);
int mostRows(int largestView);

// A page of certain views.
struct Page
{
    Page(const std::vector<View>& views, int wantedColumns);

    cv::Point cellAt(std::size_t index) const;
    std::uint64_t byteCount() const;  // in RGB, 8 bits

    cv::Size view;  // the largest one, or the place for a message
    int columns;
    cv::Size size;

private:
    cv::Size cell() const;
};

}
