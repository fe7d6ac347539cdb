#include "host/soak/Soak.h"

#include <malloc.h>

#include <utility>

namespace {

constexpr unsigned viewerCount = 3;

}

Soak::Soak(const std::filesystem::path& plugIn) : m_start(viewerCount + 1), m_end(viewerCount + 1)
{
    for (unsigned viewer = 0; viewer < viewerCount; ++viewer)
        m_viewers.emplace_back(plugIn, m_files.paths(), m_results, viewer);
    for (auto& viewer : m_viewers)
        m_threads.emplace_back([&] { viewerThread(viewer); });
}

Soak::~Soak()
{
    m_isOver = true;
    m_start.arrive_and_wait();
}

void Soak::workFor(std::chrono::duration<double> time)
{
    m_works = true;
    m_start.arrive_and_wait();
    std::this_thread::sleep_for(time);
    m_works = false;
    m_end.arrive_and_wait();
    if (m_failure)
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    // One after the other, so that the pool ends up with the same blocks every time.
    for (auto& viewer : m_viewers)
        viewer.rest();
    ::malloc_trim(0);
}

void Soak::viewerThread(Viewer& viewer)
{
    for (m_start.arrive_and_wait(); !m_isOver; m_start.arrive_and_wait()) {
        try {
            while (m_works)
                viewer.cycle();
        } catch (const std::exception&) {
            const std::lock_guard lock(m_failureMutex);
            m_failure = std::current_exception();
        }
        m_end.arrive_and_wait();
    }
}
