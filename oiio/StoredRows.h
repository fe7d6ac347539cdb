#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"

#include <OpenImageIO/imageio.h>

#include <cstddef>
#include <memory>

namespace OpenImageIoPlugIn {

// Rows from `first` to before `end`, counted from the upper edge of the frame.
struct RowRange
{
    int first;
    int end;
};

// Where rows go to, and as what. Distances in bytes.
struct RowsTarget
{
    std::byte* data;  // of the first row that is asked for
    OIIO::TypeDesc type;
    int firstChannel;
    int endChannel;
    OIIO::stride_t pixelDistance;
    OIIO::stride_t rowDistance;
};

// The rows of a frame as a file stores it, converted where they are asked for: a few of them at a
// time, which stay in a cache until their samples are where they shall be. All failures are
// std::exceptions.
class StoredRows
{
public:
    explicit StoredRows(std::unique_ptr<Velmora::IFrame> frame);

    // Gives rows that lie inside the frame. They become floats where floats of any size are wanted,
    // and otherwise the native samples, whose type OpenImageIO then changes. On so many threads;
    // several threads may call it.
    void read(RowRange rows, const RowsTarget& target, int threads) const;

    // The same, on this thread, for who asks for a few rows at a time: the last ones that were
    // converted are kept. One thread may call it.
    void readOnward(RowRange rows, const RowsTarget& target);

    static bool areFew(RowRange rows) { return bandOf(rows.first) == bandOf(rows.end - 1); }

private:
    // Rows that are converted together: whole groups of any format, and of a 4K picture in float
    // no more than the second cache of a core holds.
    static constexpr int rowsPerBand = 16;

    // A number of such rows, converted.
    struct Band
    {
        int number = -1;
        const Velmora::FrameFormat* format = nullptr;
        cv::Mat pixels;
    };

    static int bandOf(int row) { return row / rowsPerBand; }

    const Velmora::FrameFormat& formatFor(const OIIO::TypeDesc& type) const;
    Band converted(int number, const Velmora::FrameFormat& format) const;
    static void copy(const Band& band, RowRange rows, const RowsTarget& target);

    std::shared_ptr<const Velmora::ImageFrame> m_frame;
    Velmora::FrameFormat m_native;
    Velmora::FrameFormat m_float;
    Band m_latest;
};

}
