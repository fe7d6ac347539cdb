#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Zeq {

// Keeps the frames that are in memory at once within a limit. A frame that is larger than the limit
// gets its memory when it is alone.
class MemoryBudget
{
public:
    explicit MemoryBudget(std::uint64_t limit) : m_limit(limit) {}

    // Memory that is counted until it is destroyed.
    class Reservation
    {
    public:
        Reservation(MemoryBudget& budget, std::uint64_t size);
        ~Reservation();

        Reservation(const Reservation&) = delete;
        Reservation& operator=(const Reservation&) = delete;

    private:
        MemoryBudget& m_budget;
        std::uint64_t m_size;
    };

    // Waits until there is room. Throws a std::runtime_error for more than the process may
    // have: a file's header can claim anything.
    [[nodiscard]] Reservation reserve(std::uint64_t size) { return {*this, size}; }

private:
    const std::uint64_t m_limit;
    std::uint64_t m_used = 0;
    std::mutex m_usedMutex;
    std::condition_variable m_released;
};

// Whether so many threads more can be started at once. What OpenCV, OpenImageIO and the libraries
// behind them do where a thread cannot be started is to fail, or to end the program.
bool canStartThreads(std::size_t count);

// One file's work. It reserves the memory that it will take as soon as it knows how much that is,
// and throws a std::exception when it fails, a FileError where that is about another file. It gives
// what else is to be said of the file, on the error stream; nothing where all is well.
struct Job
{
    std::string name;    // of the file, for errors
    std::string result;  // what is printed when it is done
    std::function<std::string(MemoryBudget&)> run;
};

// How a job ended: why it failed, or what else was said of the file.
struct JobOutcome
{
    bool hasFailed = false;
    std::string text = {};
    double seconds = 0;
};

// How much is done at once, by default of what the process may have.
struct JobSettings
{
    JobSettings();

    int jobs = 0;          // files; 0 for as many as there are processors
    std::uint64_t memory;  // bytes of their frames together
    bool isQuiet = false;
    std::function<void(std::size_t index, const JobOutcome& outcome)> onEnd = {};  // of each job
};

std::size_t failuresIn(const std::vector<JobOutcome>& outcomes);

// Gets the process ready for so many jobs, which share the processors and the memory, and gives how
// many of them can run at once.
std::size_t prepareJobs(std::size_t count, const JobSettings& settings);

// Runs the jobs, several at once where threads can be started, and names those that fail. Progress
// is a bar on a terminal and otherwise a line for each job. Gives how each of them ended, which the
// settings' `onEnd` is told by the thread that did the job.
std::vector<JobOutcome> runJobs(const std::vector<Job>& jobs, const JobSettings& settings);

}
