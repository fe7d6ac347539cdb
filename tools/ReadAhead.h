#pragma once

#include "tools/Jobs.h"

#include <opencv2/core/mat.hpp>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Zeq {

// Pictures that several threads make ahead of the one that takes them, in their order and within
// the limit of memory.
class ReadAhead
{
public:
    // Waits for the memory that a picture takes until it has been taken and is done with.
    using Reserve = std::function<void(std::uint64_t byteCount)>;

    // Makes the picture with this number. Reserves its memory once, before it takes any, and throws
    // a std::exception when it fails.
    using Make = std::function<cv::Mat(std::size_t index, const Reserve& reserve)>;

    ReadAhead(std::size_t count, const JobSettings& settings, Make make);

    // Pictures that were not taken are given up.
    ~ReadAhead();

    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // The next picture, which is there until the one after it is asked for. Throws what making it
    // threw.
    const cv::Mat& next();

private:
    // A picture, or why there is none.
    struct Made
    {
        std::unique_ptr<MemoryBudget::Reservation> reservation;
        cv::Mat picture;
        std::exception_ptr failure;
    };

    void work();
    Made make(std::size_t index);
    void waitForTurn(std::size_t index);
    void passTurn(std::size_t index);

    const std::size_t m_count;
    const Make m_make;
    MemoryBudget m_budget;
    Made m_current;
    std::size_t m_furthest = 0;  // how many pictures may be there or in the making

    std::mutex m_stateMutex;  // guards what follows
    std::condition_variable m_changed;
    std::map<std::size_t, Made> m_made;
    std::size_t m_started = 0;
    std::size_t m_taken = 0;
    std::size_t m_turn = 0;  // whose memory is reserved next
    bool m_isStopped = false;

    std::vector<std::jthread> m_threads;
};

}
