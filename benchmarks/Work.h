#pragma once

#include <opencv2/core/mat.hpp>

namespace Benchmarks {

// One way to do a conversion's work, its input at hand: ours, or another library's.
class Work
{
public:
    virtual ~Work() = default;

    // What is timed.
    virtual void run() = 0;

    // What the last run made, to be looked at: float BGR, blocks decoded.
    virtual cv::Mat picture() const = 0;
};

}
