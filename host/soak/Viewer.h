#pragma once

#include "host/headless/HeadlessHost.h"
#include "host/headless/HostedReader.h"
#include "host/soak/FirstResults.h"

#include <opencv2/core.hpp>

#include <deque>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <vector>

// One artist's days in small, for a thread of its own: the plug-in is loaded and unloaded, frames
// and matrices outlive that, files are shown in any order.
class Viewer
{
public:
    Viewer(std::filesystem::path plugIn, const std::vector<std::string>& files,
           FirstResults& results, unsigned seed);

    // Throws a std::runtime_error when something is not as it was before.
    void cycle();

    // Lets go of everything, so that what is still held afterwards is held for good.
    void rest();

private:
    HostedReader show(const std::string& path);
    void keepMatrix();

    std::filesystem::path m_plugIn;
    const std::vector<std::string>& m_files;
    FirstResults& m_results;
    std::mt19937 m_random;
    std::optional<HeadlessHost> m_host;
    std::deque<HostedReader> m_readers;
    std::deque<cv::Mat> m_matrices;
    int m_cycles = 0;
};
