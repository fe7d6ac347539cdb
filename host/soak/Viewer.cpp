#include "host/soak/Viewer.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t keptReaders = 2;
constexpr std::size_t keptMatrices = 4;
constexpr int cyclesLoaded = 5;

const DD::Image::Reader::Description& zeqReader()
{
    const auto* const description = DD::Image::Reader::Description::find("zeq");
    if (!description)
        throw std::runtime_error("The plug-in has not registered its reader");
    return *description;
}

}

Viewer::Viewer(std::filesystem::path plugIn, const std::vector<std::string>& files,
               FirstResults& results, unsigned seed)
    : m_plugIn(std::move(plugIn)), m_files(files), m_results(results), m_random(seed)
{
}

void Viewer::cycle()
{
    if (m_cycles % cyclesLoaded == 0)
        m_host.emplace(m_plugIn);

    std::uniform_int_distribution<std::size_t> any(0, m_files.size() - 1);
    m_readers.push_back(show(m_files[any(m_random)]));
    if (m_readers.size() > keptReaders)
        m_readers.pop_front();
    keepMatrix();

    if (++m_cycles % cyclesLoaded == 0)
        m_host.reset();
}

void Viewer::rest()
{
    m_readers.clear();
    m_matrices.clear();
    // The pool keeps some idle blocks, however large. After a clip they are those of its frames.
    for (int frame = 0; frame < 6; ++frame)
        show(m_files.front());
}

HostedReader Viewer::show(const std::string& path)
{
    HostedReader reader(zeqReader(), path);
    reader.open();
    if (const auto messages = reader.takeMessages(); !messages.empty()) {
        m_results.expectSame(path, messages.front());
        return reader;
    }
    const auto pixels = reader.picture().pixels;
    m_results.expectSame(
        path, {reinterpret_cast<const char*>(pixels.data()), pixels.size() * sizeof(float)});
    return reader;
}

void Viewer::keepMatrix()
{
    std::uniform_int_distribution<int> size(1, 2000);
    m_matrices.emplace_back(size(m_random), size(m_random), CV_8UC1, cv::Scalar(m_cycles % 251));
    if (m_matrices.size() <= keptMatrices)
        return;
    double least = 0;
    double most = 0;
    cv::minMaxLoc(m_matrices.front(), &least, &most);
    if (least != most)
        throw std::runtime_error("A matrix has been written by someone else");
    m_matrices.pop_front();
}
