#pragma once

#include "host/soak/ClipFiles.h"
#include "host/soak/FirstResults.h"
#include "host/soak/Viewer.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <exception>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

// Several viewers at work at once, on threads that stay as a host's do: OpenCV keeps a little
// memory for every thread that ever ran a parallel loop.
class Soak
{
public:
    explicit Soak(const std::filesystem::path& plugIn);
    ~Soak();

    // Returns when nobody works any more and everything is let go of. Throws what stopped a viewer.
    void workFor(std::chrono::duration<double> time);

    long filesShown() const { return m_results.count(); }

private:
    void viewerThread(Viewer& viewer);

    ClipFiles m_files;
    FirstResults m_results;
    std::vector<Viewer> m_viewers;
    std::barrier<> m_start;
    std::barrier<> m_end;
    std::atomic<bool> m_works = true;
    bool m_isOver = false;
    std::exception_ptr m_failure;
    std::mutex m_failureMutex;
    std::vector<std::jthread> m_threads;
};
