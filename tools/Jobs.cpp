#include "tools/Jobs.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "tools/Allowance.h"
#include "tools/Files.h"
#include "tools/Report.h"

#include <malloc.h>
#include <unistd.h>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <iostream>
#include <system_error>
#include <thread>
#include <vector>

namespace Zeq {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30;

}

JobSettings::JobSettings() : memory(std::min(4 * gibibyte, allowance().memory / 2)) {}

MemoryBudget::Reservation::Reservation(MemoryBudget& budget, std::uint64_t size)
    : m_budget(budget), m_size(size)
{
    if (size > allowance().memory)
        MediaConversion::fail("needs ", size / mebibyte,
                              " MiB of memory, more than this process may have");
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

// Shows how far a run has come: a bar on a terminal, otherwise a line for each file. Files that
// fail are named on the error stream either way. May be told from several threads.
class Progress
{
public:
    Progress(std::size_t total, bool isQuiet)
        : m_total(total),
          m_showsBar(!isQuiet && total > 1 && ::isatty(STDERR_FILENO) && ::isatty(STDOUT_FILENO)),
          m_showsLines(!isQuiet && !m_showsBar)
    {
        showBar();
    }

    ~Progress() { hideBar(); }

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void succeeded(const std::string& line, const std::string& remark)
    {
        const std::lock_guard lock(m_outputMutex);
        ++m_done;
        if (!remark.empty()) {
            hideBar();
            reportError(remark);
        }
        if (m_showsLines && !line.empty())
            std::cout << shown(line) << std::endl;
        showBar();
    }

    void failed(const std::string& text)
    {
        const std::lock_guard lock(m_outputMutex);
        ++m_done;
        hideBar();
        reportError(text);
        showBar();
    }

private:
    void showBar() const
    {
        if (!m_showsBar)
            return;
        constexpr std::size_t width = 40;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
        const auto filled = m_done * width / m_total;
        const double rate = static_cast<double>(m_done) / std::max(elapsed.count(), 1e-3);
        std::fprintf(stderr, "\r[%s%s] %zu of %zu, %.1f a second ",
                     std::string(filled, '#').c_str(), std::string(width - filled, '.').c_str(),
                     m_done, m_total, rate);
        std::fflush(stderr);
    }

    void hideBar() const
    {
        if (m_showsBar)
            std::fputs("\r\033[K", stderr);
    }

    const std::size_t m_total;
    const bool m_showsBar;
    const bool m_showsLines;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::size_t m_done = 0;
    std::mutex m_outputMutex;
};

// The jobs share the processors, so that they do not stand in each other's way. Where no threads
// can be started, OpenCV is not to start any either.
int prepareThreads(int jobCount)
{
    const int processors = allowance().processors;
    const bool hasThreads =
        canStartThreads(static_cast<std::size_t>(jobCount) + static_cast<std::size_t>(processors));
    cv::setNumThreads(hasThreads ? std::max(1, processors / std::max(1, jobCount)) : 1);
    return hasThreads ? jobCount : 1;
}

}

std::size_t prepareJobs(std::size_t count, const JobSettings& settings)
{
    const int wanted = settings.jobs ? settings.jobs : allowance().processors;
    const auto jobCount =
        static_cast<std::size_t>(prepareThreads(std::min(wanted, static_cast<int>(count))));

    // Frames side by side use each other's memory again. It is part of what they may take together.
    Velmora::installMemoryPool(settings.memory);

    // One heap for all threads: with one for each, freed frames stay with the thread that had them.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread allocates yet
    ::mallopt(M_ARENA_MAX, 1);
    return jobCount;
}

std::size_t failuresIn(const std::vector<JobOutcome>& outcomes)
{
    return static_cast<std::size_t>(std::ranges::count(outcomes, true, &JobOutcome::hasFailed));
}

std::vector<JobOutcome> runJobs(const std::vector<Job>& jobs, const JobSettings& settings)
{
    MemoryBudget budget(settings.memory);
    const auto jobCount = prepareJobs(jobs.size(), settings);
    Progress progress(jobs.size(), settings.isQuiet);
    std::atomic<std::size_t> next = 0;
    std::vector<JobOutcome> outcomes(jobs.size());
    const auto work = [&] {
        for (auto index = next++; index < jobs.size(); index = next++) {
            const auto& job = jobs[index];
            auto& outcome = outcomes[index];
            const auto start = std::chrono::steady_clock::now();
            try {
                outcome.text = job.run(budget);
                const auto& remark = outcome.text;
                progress.succeeded(job.result, remark.empty() ? "" : job.name + ": " + remark);
            } catch (const FileError& error) {
                outcome = {true, error.what()};
                progress.failed(outcome.text);
            } catch (const std::exception& error) {
                outcome = {true, messageOf(error)};
                progress.failed(job.name + ": " + outcome.text);
            }
            outcome.seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            if (settings.onEnd)
                settings.onEnd(index, outcome);
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
    return outcomes;
}

}
