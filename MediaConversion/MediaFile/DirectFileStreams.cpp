#include "MediaConversion/MediaFile/DirectFileStreams.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MediaConversion {

namespace {

// A page; no device asks for more.
constexpr std::size_t pageSize = 4096;

// Uncached reads are large, so that there are few; cached ones are as large as what is wanted.
constexpr std::streamoff uncachedBlockSize = 1 << 20;
constexpr std::streamoff cachedBlockSize = 1 << 13;

}

void DirectFileBuffer::AlignedDelete::operator()(char* block) const
{
    ::operator delete (block, std::align_val_t{pageSize});
}

DirectFileBuffer::~DirectFileBuffer()
{
    close();
}

DirectFileBuffer* DirectFileBuffer::open(const char* fileName, std::ios_base::openmode mode)
{
    if (is_open() || (mode & ~std::ios_base::binary) != std::ios_base::in)
        return nullptr;
    const bool uncached = m_cachingMode == CachingMode::Uncached;
    m_descriptor = openRegularFile(fileName, O_RDONLY | (uncached ? O_DIRECT : 0));
    if (!is_open())
        return nullptr;
    struct stat status;
    if (::fstat(m_descriptor, &status) != 0) {
        close();
        return nullptr;
    }
    m_unit = uncached ? std::max<off_type>(status.st_blksize, 1) : 1;
    m_memoryUnit = uncached ? pageSize : 1;
    const auto leastBlockSize = uncached ? uncachedBlockSize : cachedBlockSize;
    m_blockSize = (leastBlockSize + m_unit - 1) / m_unit * m_unit;
    return this;
}

DirectFileBuffer* DirectFileBuffer::close()
{
    if (!is_open())
        return nullptr;
    const bool closed = ::close(m_descriptor) == 0;
    m_descriptor = -1;
    m_blockEnd = 0;
    setg(nullptr, nullptr, nullptr);
    m_block.reset();
    return closed ? this : nullptr;
}

DirectFileBuffer::int_type DirectFileBuffer::underflow()
{
    if (!is_open())
        return traits_type::eof();
    if (!m_block)
        m_block.reset(static_cast<char*>(
            ::operator new (static_cast<std::size_t>(m_blockSize), std::align_val_t{pageSize})));
    const auto wanted = position();
    const auto start = wanted - wanted % m_unit;
    const auto end = start + readAt(start, m_block.get(), m_blockSize);
    if (end <= wanted)
        return traits_type::eof();
    setg(m_block.get(), m_block.get() + (wanted - start), m_block.get() + (end - start));
    m_blockEnd = end;
    return traits_type::to_int_type(*gptr());
}

std::streamsize DirectFileBuffer::xsgetn(char* destination, std::streamsize count)
{
    std::streamsize taken = 0;
    while (taken < count) {
        if (gptr() == egptr()) {
            const auto straight = readStraight(destination + taken, count - taken);
            taken += straight;
            if (straight > 0)
                continue;
            if (traits_type::eq_int_type(underflow(), traits_type::eof()))
                break;
        }
        const auto piece = std::min<std::streamsize>(egptr() - gptr(), count - taken);
        std::copy_n(gptr(), piece, destination + taken);
        gbump(static_cast<int>(piece));
        taken += piece;
    }
    return taken;
}

// Reads whole units straight into the caller's memory. Reads nothing at the end of the file, where
// position or memory is not aligned, and where less than a buffer is wanted.
std::streamsize DirectFileBuffer::readStraight(char* destination, std::streamsize count)
{
    const auto start = position();
    if (!is_open() || count < m_blockSize || start % m_unit != 0 ||
        reinterpret_cast<std::uintptr_t>(destination) % m_memoryUnit != 0)
        return 0;
    const auto taken = readAt(start, destination, count - count % m_unit);
    setg(nullptr, nullptr, nullptr);
    m_blockEnd = start + taken;
    return taken;
}

// Throws on a failure; the stream above catches it and sets its bad bit.
std::streamsize DirectFileBuffer::readAt(off_type position, char* destination,
                                         std::streamsize count) const
{
    for (;;) {
        const auto taken =
            ::pread(m_descriptor, destination, static_cast<std::size_t>(count), position);
        if (taken >= 0)
            return taken;
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category());
    }
}

DirectFileBuffer::pos_type DirectFileBuffer::seekoff(off_type offset,
                                                     std::ios_base::seekdir direction,
                                                     std::ios_base::openmode which)
{
    struct stat status;
    if (!is_open())
        return pos_type(off_type(-1));
    if (direction == std::ios_base::beg)
        return seekpos(offset, which);
    if (direction == std::ios_base::cur)
        return offset == 0 ? pos_type(position()) : seekpos(position() + offset, which);
    if (::fstat(m_descriptor, &status) != 0)
        return pos_type(off_type(-1));
    return seekpos(status.st_size + offset, which);
}

DirectFileBuffer::pos_type DirectFileBuffer::seekpos(pos_type position, std::ios_base::openmode)
{
    if (!is_open() || position < 0)
        return pos_type(off_type(-1));
    setg(nullptr, nullptr, nullptr);
    m_blockEnd = position;
    return position;
}

template class FileStreamOver<DirectFileBuffer>;

namespace {

class FileSystemInfo final : public IFileSystemInfo
{
public:
    FileSystemInfo(std::uint64_t fileSize, std::uint64_t alignmentUnit)
        : m_fileSize(fileSize), m_alignmentUnit(alignmentUnit)
    {
    }

    std::uint64_t fileSize() const override { return m_fileSize; }
    std::uint64_t alignmentUnit() const override { return m_alignmentUnit; }

private:
    std::uint64_t m_fileSize;
    std::uint64_t m_alignmentUnit;
};

}

std::unique_ptr<IFileStream> DirectFileStreamFactory::create()
{
    return std::make_unique<DirectFileStream>();
}

std::unique_ptr<IFileSystemInfo> DirectFileStreamFactory::createFileSystemInfo(
    const std::wstring& fileName)
{
    const auto narrow = narrowFileName(fileName);
    struct stat status;
    if (!narrow || ::stat(narrow->c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return std::make_unique<FileSystemInfo>(static_cast<std::uint64_t>(status.st_size),
                                            static_cast<std::uint64_t>(status.st_blksize));
}

}
