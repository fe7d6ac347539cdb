#include "host/headless/FileBeginning.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
