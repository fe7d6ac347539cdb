#include "imaging/CheckedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Imaging {

namespace {

[[noreturn]] void throwReason(int error)
{
    throw std::runtime_error(std::generic_category().message(error));
}

}

CheckedFile::~CheckedFile()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void CheckedFile::open(const std::string& fileName)
{
    m_descriptor = ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                          S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (m_descriptor < 0)
        throwReason(errno);
    m_filename = fileName;
    m_mode = Write;
}

void CheckedFile::finish()
{
    flushBuffer();
    // File systems of other machines may tell here only. An interrupted close has closed.
    if (::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR)
        remember(errno);
    if (m_failure)
        throwReason(m_failure);
}

std::size_t CheckedFile::write(const void* bytes, std::size_t size)
{
    pwrite(bytes, size, m_pos);
    m_pos += static_cast<std::int64_t>(size);
    return size;
}

std::size_t CheckedFile::pwrite(const void* bytes, std::size_t size, std::int64_t offset)
{
    const std::lock_guard lock(m_mutex);
    const auto* const first = static_cast<const std::byte*>(bytes);
    if (offset != m_bufferStart + std::ssize(m_buffer) || m_buffer.size() + size > bufferSize) {
        flushBuffer();
        m_bufferStart = offset;
    }
    if (size > bufferSize) {
        writeAt(first, size, offset);
        m_bufferStart = offset + static_cast<std::int64_t>(size);
    } else {
        m_buffer.insert(m_buffer.end(), first, first + size);
    }
    m_size = std::max(m_size, offset + static_cast<std::int64_t>(size));
    return size;
}

std::size_t CheckedFile::read(void*, std::size_t)
{
    return remember(EBADF);
}

std::size_t CheckedFile::pread(void*, std::size_t, std::int64_t)
{
    return remember(EBADF);
}

std::size_t CheckedFile::remember(int error)
{
    if (!m_failure)
        m_failure = error;
    return 0;
}

void CheckedFile::flushBuffer()
{
    writeAt(m_buffer.data(), m_buffer.size(), m_bufferStart);
    m_bufferStart += std::ssize(m_buffer);
    m_buffer.clear();
}

void CheckedFile::writeAt(const std::byte* bytes, std::size_t size, std::int64_t offset)
{
    while (size > 0 && !m_failure) {
        const auto count = ::pwrite(m_descriptor, bytes, size, offset);
        if (count > 0) {
            bytes += count;
            size -= static_cast<std::size_t>(count);
            offset += count;
        } else if (count == 0 || errno != EINTR) {
            remember(count == 0 ? EIO : errno);
        }
    }
}

}
