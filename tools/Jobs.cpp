#include "tools/Jobs.h"

#include "tools/Command.h"
#include "tools/OutputFile.h"
#include "tools/Progress.h"
#include "tools/Report.h"

#include <opencv2/core/utility.hpp>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <thread>

namespace Zeq {

namespace {

constexpr int largestJobCount = 1024;

int parseJobCount(const std::string& text)
{
    if (text.empty())
        return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    int count = 0;
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc() || stop != end || count < 1 || count > largestJobCount)
        throw UsageError("--jobs: " + text + " is no number from 1 to " +
                         std::to_string(largestJobCount));
    return count;
}

}

std::size_t runJobs(const std::vector<Job>& jobs, const JobSettings& settings)
{
    MemoryBudget budget(parseByteCount(settings.memory));
    const int jobCount = std::min(parseJobCount(settings.jobs), static_cast<int>(jobs.size()));
    // The processors are shared out among the jobs, so that they do not stand in each other's way.
    cv::setNumThreads(std::max(1, cv::getNumberOfCPUs() / std::max(1, jobCount)));

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
                progress.failed(job.name + ": " + error.what());
            }
        }
    };
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(jobCount));
    for (int thread = 0; thread < jobCount; ++thread)
        threads.emplace_back(work);
    threads.clear();
    return failures;
}

}
