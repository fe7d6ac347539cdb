#include "host/headless/HostedReader.h"

#include "imaging/PictureLimits.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace Headless {

namespace {

// The size comes from a file's header, which may claim anything: 2 GiB of samples and no more.
constexpr std::uint64_t largestPixelCount = std::uint64_t{1} << 27;

void copyRow(const DD::Image::Row& row, int width, float* pixels)
{
    using namespace DD::Image;
    for (int column = 0; column < width; ++column)
        for (const auto channel : {Chan_Red, Chan_Green, Chan_Blue, Chan_Alpha})
            *pixels++ = row[channel][column];
}

}

// Without blocking: to open a pipe would wait for someone to write to it.
FileBeginning::FileBeginning(const std::string& fileName)
    : m_descriptor(::open(fileName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
    const auto length =
        m_descriptor < 0 ? -1 : ::read(m_descriptor, m_block.data(), m_block.size());
    if (length < 0)
        m_error = std::generic_category().message(errno);
    else
        m_length = static_cast<int>(length);
    struct stat status;
    if (m_descriptor >= 0 && ::fstat(m_descriptor, &status) == 0)
        m_fileSize = static_cast<std::uint64_t>(status.st_size);
}

FileBeginning::~FileBeginning()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

int FileBeginning::releaseDescriptor()
{
    return std::exchange(m_descriptor, -1);
}

std::vector<std::string> ReadOperator::takeMessages()
{
    const std::lock_guard lock(m_messagesMutex);
    return std::exchange(m_messages, {});
}

void ReadOperator::onCritical(const std::string& message)
{
    const std::lock_guard lock(m_messagesMutex);
    m_messages.push_back(message);
}

HostedReader::HostedReader(const DD::Image::Reader::Description& description,
                           const std::string& fileName)
    : HostedReader(description, fileName, FileBeginning(fileName))
{
}

HostedReader::HostedReader(const DD::Image::Reader::Description& description,
                           const std::string& fileName, FileBeginning&& beginning)
    : m_operator(std::make_unique<ReadOperator>(fileName)),
      m_fileSize(beginning.fileSize()),
      m_reader(description.newReader(m_operator.get(), beginning.releaseDescriptor(),
                                     beginning.block(), beginning.length()))
{
}

Imaging::HostPicture HostedReader::picture()
{
    const int width = m_reader->width();
    const int height = m_reader->height();
    const auto refuse = [&](const std::string& limit) {
        throw std::runtime_error("Picture of " + std::to_string(width) + " x " +
                                 std::to_string(height) + " pixels is too large for " + limit);
    };
    const auto pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (pixels > largestPixelCount)
        refuse("this host");
    // A file has a byte at least for every pixel that it stores.
    if (!Imaging::mayBeFilledUp(pixels, m_fileSize))
        refuse("a file of " + std::to_string(m_fileSize) + " bytes");

    Imaging::HostPicture picture{
        .width = width, .height = height, .depth = m_reader->depth(), .pixels = {}};
    const auto rowSize = std::size_t(width) * std::size_t(Imaging::HostPicture::channels);
    picture.pixels.resize(rowSize * std::size_t(height));

    std::atomic<int> nextRow = 0;
    const auto pullRows = [&] {
        DD::Image::Row row(0, width);
        for (int y = nextRow++; y < height; y = nextRow++) {
            m_reader->engine(y, 0, width, DD::Image::Mask_RGBA, row);
            copyRow(row, width, picture.pixels.data() + rowSize * std::size_t(height - 1 - y));
        }
    };
    const auto threadCount = std::clamp(std::thread::hardware_concurrency(), 2u, 8u);
    std::vector<std::jthread> threads;
    for (unsigned thread = 0; thread < threadCount; ++thread)
        threads.emplace_back(pullRows);
    threads.clear();
    return picture;
}

}
