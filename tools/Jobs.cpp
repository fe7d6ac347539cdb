#include "tools/Jobs.h"

#include "tools/Command.h"
#include "tools/Files.h"
#include "tools/Report.h"
#include "tools/Threads.h"

#include <opencv2/core/utility.hpp>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <exception>
#include <stdexcept>
#include <system_error>
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

// How many are done at once. The processors are shared out among the jobs, so that they do not
// stand in each other's way. Without threads, OpenCV is not to start any either.
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
    MemoryBudget budget(parseByteCount(settings.memory));
    const auto jobCount = static_cast<std::size_t>(
        prepareThreads(std::min(parseJobCount(settings.jobs), static_cast<int>(jobs.size()))));

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
        // Those that there are do it all.
    }
    work();
    others.clear();
    return failures;
}

}
