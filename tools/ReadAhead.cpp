#include "tools/ReadAhead.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace Zeq {

ReadAhead::ReadAhead(std::size_t count, const JobSettings& settings, Make make)
    : m_count(count), m_make(std::move(make)), m_budget(settings.memory)
{
    const auto threads = prepareJobs(count, settings);
    m_furthest = 2 * threads;
    try {
        while (m_threads.size() < threads)
            m_threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // Without any thread, pictures are made when they are asked for.
    }
}

ReadAhead::~ReadAhead()
{
    {
        const std::lock_guard lock(m_stateMutex);
        m_isStopped = true;
        m_made.clear();  // whoever waits for memory gets it
    }
    m_current = {};
    m_changed.notify_all();
}

const cv::Mat& ReadAhead::next()
{
    m_current = {};
    std::unique_lock lock(m_stateMutex);
    const auto index = m_taken;
    if (m_threads.empty()) {
        lock.unlock();
        m_current = make(index);
        lock.lock();
    } else {
        m_changed.wait(lock, [&] { return m_made.contains(index); });
        m_current = std::move(m_made.extract(index).mapped());
    }
    ++m_taken;
    lock.unlock();
    m_changed.notify_all();
    if (m_current.failure)
        std::rethrow_exception(m_current.failure);
    return m_current.picture;
}

void ReadAhead::work()
{
    std::unique_lock lock(m_stateMutex);
    while (true) {
        m_changed.wait(lock, [&] {
            return m_isStopped || m_started == m_count || m_started < m_taken + m_furthest;
        });
        if (m_isStopped || m_started == m_count)
            return;
        const auto index = m_started++;
        lock.unlock();
        auto made = make(index);
        lock.lock();
        if (!m_isStopped)
            m_made.emplace(index, std::move(made));
        lock.unlock();
        m_changed.notify_all();
        made = {};
        lock.lock();
    }
}

ReadAhead::Made ReadAhead::make(std::size_t index)
{
    Made made;
    bool hasTurn = false;
    const auto takeTurn = [&] {
        if (!std::exchange(hasTurn, true))
            waitForTurn(index);
    };
    try {
        made.picture = m_make(index, [&](std::uint64_t byteCount) {
            takeTurn();
            made.reservation = std::make_unique<MemoryBudget::Reservation>(m_budget, byteCount);
            passTurn(index);
        });
    } catch (const std::exception&) {
        made.failure = std::current_exception();
        made.reservation.reset();
    }
    takeTurn();
    passTurn(index);
    return made;
}

// Memory is reserved in the order of the pictures: those that are further ahead would otherwise
// have all of it while the next one waits.
void ReadAhead::waitForTurn(std::size_t index)
{
    std::unique_lock lock(m_stateMutex);
    m_changed.wait(lock, [&] { return m_isStopped || m_turn == index; });
}

void ReadAhead::passTurn(std::size_t index)
{
    {
        const std::lock_guard lock(m_stateMutex);
        m_turn = std::max(m_turn, index + 1);
    }
    m_changed.notify_all();
}

}
