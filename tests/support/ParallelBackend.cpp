// Makes OpenCV run its parallel loops on threads that are ours, from the start of the program. The
// thread sanitiser cannot see how OpenCV's own workers wait for each other and reports races that
// are none.

#include <opencv2/core/parallel/parallel_backend.hpp>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace {

thread_local int threadNumber = 0;

// Starts its threads anew for every loop: plain, and every order of events is in plain sight.
class ThreadsPerLoop final : public cv::parallel::ParallelForAPI
{
public:
    void parallel_for(int tasks, FN_parallel_for_body_cb_t body, void* data) override
    {
        std::atomic<int> nextTask = 0;
        const auto work = [&](int number) {
            threadNumber = number;
            for (int task = nextTask++; task < tasks; task = nextTask++)
                body(task, task + 1, data);
        };
        std::vector<std::jthread> threads;
        for (int number = 1; number < m_threads; ++number)
            threads.emplace_back(work, number);
        work(0);
    }

    int getThreadNum() const override { return threadNumber; }
    int getNumThreads() const override { return m_threads; }

    int setNumThreads(int threads) override
    {
        return std::exchange(m_threads, threads > 0 ? threads : threadsByDefault);
    }

    const char* getName() const override { return "threads per loop"; }

private:
    static constexpr int threadsByDefault = 3;

    int m_threads = threadsByDefault;
};

[[maybe_unused]] const bool installed =
    (cv::parallel::setParallelForBackend(std::make_shared<ThreadsPerLoop>(), false), true);

}
