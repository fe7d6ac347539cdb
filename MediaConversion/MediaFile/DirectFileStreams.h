#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"

#include <cstddef>
#include <memory>
#include <streambuf>
#include <string>

namespace MediaConversion {

// A read-only stream buffer over a file that can bypass the operating system's cache. Such reads
// begin and end at whole units of the file and go to aligned memory: straight to the caller where
// his are so, else through a block of the buffer's own. Opens and closes files as std::filebuf
// does.
class DirectFileBuffer final : public std::streambuf
{
public:
    DirectFileBuffer() = default;
    ~DirectFileBuffer() override;

    DirectFileBuffer(const DirectFileBuffer&) = delete;
    DirectFileBuffer& operator=(const DirectFileBuffer&) = delete;

    // Takes effect at the next open.
    void setCaching(CachingMode mode) { m_cachingMode = mode; }

    // For input only; null when that fails, or when a file is open already.
    DirectFileBuffer* open(const char* fileName, std::ios_base::openmode mode);
    bool is_open() const { return m_descriptor >= 0; }
    DirectFileBuffer* close();

protected:
    int_type underflow() override;
    std::streamsize xsgetn(char* destination, std::streamsize count) override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    struct AlignedDelete
    {
        void operator()(char* block) const;
    };

    off_type position() const { return m_blockEnd - (egptr() - gptr()); }
    std::streamsize readStraight(char* destination, std::streamsize count);
    std::streamsize readAt(off_type position, char* destination, std::streamsize count) const;

    CachingMode m_cachingMode = CachingMode::Cached;
    int m_descriptor = -1;
    off_type m_unit = 1;           // bytes; reads begin and end at its multiples
    std::size_t m_memoryUnit = 1;  // bytes; what memory has to be aligned to
    off_type m_blockEnd = 0;       // where in the file the block's bytes end
    off_type m_blockSize = 0;
    std::unique_ptr<char[], AlignedDelete> m_block;
};

extern template class FileStreamOver<DirectFileBuffer>;

// A file stream for input only that can bypass the operating system's cache.
class DirectFileStream final : public FileStreamOver<DirectFileBuffer>, public IFileCaching
{
public:
    void setCaching(CachingMode mode) override { buffer().setCaching(mode); }
};

// For readers that read directly: its streams can bypass the operating system's cache.
class DirectFileStreamFactory final : public IFileStreamFactory, public IFileSystemInfoFactory
{
public:
    std::unique_ptr<IFileStream> create() override;
    std::unique_ptr<IFileSystemInfo> createFileSystemInfo(const std::wstring& fileName) override;
};

}
