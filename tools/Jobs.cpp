#include "tools/Jobs.h"

#include "MediaConversion/Errors.h"
#include "tools/Files.h"
#include "tools/Report.h"

#include <malloc.h>
#include <unistd.h>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <future>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace Zeq {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;

std::uint64_t machineMemory()
{
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

}

MemoryBudget::Reservation::Reservation(MemoryBudget& budget, std::uint64_t size)
    : m_budget(budget), m_size(size)
{
    if (size > machineMemory())
        MediaConversion::fail("needs ", size / mebibyte,
                              " MiB of memory, more than this machine has");
    std::unique_lock lock(budget.m_usedMutex);
    budget.m_released.wait(
        lock, [&] { return budget.m_used == 0 || budget.m_used + size <= budget.m_limit; });
    budget.m_used += size;
}

MemoryBudget::Reservation::~Reservation()
{
    {
        const std::lock_guard lock(m_budget.m_usedMutex);
        m_budget.m_used -= m_size;
    }
    m_budget.m_released.notify_all();
}

bool canStartThreads(std::size_t count)
{
    std::promise<void> end;
    const auto wait = [ended = end.get_future().share()] { ended.wait(); };
    std::vector<std::jthread> threads;
    threads.reserve(count);
    try {
        while (threads.size() < count)
            threads.emplace_back(wait);
    } catch (const std::system_error&) {
    }
    end.set_value();
    return threads.size() == count;
}

namespace {

// Gives how many jobs can run at once. They share the processors, so that they do not stand in each
// other's way. Where no threads can be started, OpenCV is not to start any either.
int prepareThreads(int jobCount)
{
    const int processors = cv::getNumberOfCPUs();
    const bool hasThreads = canStartThreads(static_cast<std::size_t>(jobCount + processors));
    cv::setNumThreads(hasThreads ? std::max(1, processors / std::max(1, jobCount)) : 1);
    return hasThreads ? jobCount : 1;
}

}

Job failingJob(const std::string& name, const std::string& problem)
{
    return {name, "", [problem](MemoryBudget&) { throw std::runtime_error(problem); }};
}

std::size_t runJobs(const std::vector<Job>& jobs, const JobSettings& settings)
{
    MemoryBudget budget(settings.memory);
    const auto processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const auto jobCount = static_cast<std::size_t>(prepareThreads(
        std::min(settings.jobs ? settings.jobs : processors, static_cast<int>(jobs.size()))));

    // One heap for all threads: with one for each, freed frames stay with the thread that had them.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread allocates yet
    ::mallopt(M_ARENA_MAX, 1);

    Progress progress(jobs.size(), settings.isQuiet);
    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> failures = 0;
    const auto work = [&] {
        for (auto index = next++; index < jobs.size(); index = next++) {
            const auto& job = jobs[index];
            try {
                job.run(budget);
                progress.succeeded(job.result);
            } catch (const OutputError& error) {
                ++failures;
                progress.failed(error.what());
            } catch (const std::exception& error) {
                ++failures;
                progress.failed(job.name + ": " + messageOf(error));
            }
        }
    };
    std::vector<std::jthread> others;
    try {
        while (others.size() + 1 < jobCount)
            others.emplace_back(work);
    } catch (const std::system_error&) {
        // The threads that could be started do all the work.
    }
    work();
    others.clear();
    return failures;
}

}
