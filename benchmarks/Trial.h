#pragma once

#include "benchmarks/Conversions.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/Pictures.h"
#include "benchmarks/Results.h"
#include "benchmarks/Rounds.h"
#include "tests/support/InstalledPool.h"

#include <functional>
#include <memory>
#include <string>

namespace Benchmarks {

// A conversion in a setting, and what it is measured against: the limit and the plain arithmetic.
// Sets the number of OpenCV's threads, and is the only one to own a memory pool while it lives.
class Trial
{
public:
    enum class Input
    {
        Memory,
        File
    };

    Trial(const Conversion& conversion, const Setting& setting, Input input = Input::Memory);

    // Whether ours gives the plain arithmetic's bytes, on the picture that is timed.
    bool isExact();

    void ours() { m_ours->run(); }
    void plain();
    void limit();

    const cv::Mat& image() const { return m_image; }

private:
    struct ThreadCount
    {
        explicit ThreadCount(int threads);
    };

    ThreadCount m_threadCount;
    InstalledPool m_pool;
    Conversion m_conversion;
    cv::Mat m_image;
    std::unique_ptr<Velmora::ImageFrame> m_frame;
    std::unique_ptr<OurWork> m_ours;
    cv::Mat m_plainResult;  // held like ours, or ours would be written where it is still cached
    cv::Mat m_outputs[2];   // of the limit, in turn
    int m_turn = 0;
};

// Registers a measurement of a trial under the name and the setting. One that is not exact is
// reported instead of measured.
using Measure = std::function<void(benchmark::State&, Trial&)>;
void registerTrial(const std::string& name, const Conversion& conversion, const Setting& setting,
                   const Extent& extent, Results& results, const Measure& measure,
                   Trial::Input input = Trial::Input::Memory);

}
