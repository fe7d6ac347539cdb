#pragma once

#include <cstdint>
#include <ios>
#include <memory>
#include <string>

// The media file reader reaches files through these interfaces only.
namespace MediaConversion {

// A stream of bytes with the state of a standard stream. No operation throws for what happens to
// the file: failures are recorded in the state.
class IIoStream
{
public:
    virtual ~IIoStream() = default;

    virtual void clear() = 0;
    virtual bool fail() const = 0;  // the fail bit or the bad bit
    virtual bool good() const = 0;
    virtual bool eof() const = 0;

    // The number of bytes taken by the last read.
    virtual std::streamsize gcount() const = 0;

    // A read that ends short sets end-of-file and fail.
    virtual void read(char* buffer, std::streamsize count) = 0;
    virtual void write(const char* buffer, std::streamsize count) = 0;

    // Seeking forgets the end of file, but does nothing while the stream has failed.
    virtual void seek(std::streamoff offset, std::ios_base::seekdir direction) = 0;
    virtual void seek(std::streampos position) = 0;

    // The read position, -1 when there is none.
    virtual std::streampos tell() = 0;
};

// What cannot be opened sets the fail bit, and so does everything that is not a regular file, an
// open of a stream that is open already and a close of one that is not.
class IFileStream : public IIoStream
{
public:
    virtual void open(const std::wstring& fileName, std::ios_base::openmode mode) = 0;
    virtual void open(const std::string& fileName, std::ios_base::openmode mode) = 0;
    virtual void open(const char* fileName, std::ios_base::openmode mode) = 0;
    virtual bool is_open() const = 0;
    virtual void close() = 0;
};

class IFileStreamFactory
{
public:
    virtual ~IFileStreamFactory() = default;

    // A new stream without a file.
    virtual std::unique_ptr<IFileStream> create() = 0;
};

enum class CachingMode : std::uint32_t
{
    Cached = 0,    // the operating system keeps what was read
    Uncached = 1,  // reads bypass the operating system's cache
};

// A stream that can bypass the operating system's cache. The mode takes effect at the next open.
class IFileCaching
{
public:
    virtual ~IFileCaching() = default;

    virtual void setCaching(CachingMode mode) = 0;
};

class IFileSystemInfo
{
public:
    virtual ~IFileSystemInfo() = default;

    virtual std::uint64_t fileSize() const = 0;       // bytes
    virtual std::uint64_t alignmentUnit() const = 0;  // bytes; uncached reads take whole units
};

class IFileSystemInfoFactory
{
public:
    virtual ~IFileSystemInfoFactory() = default;

    // Null when there is no such regular file.
    virtual std::unique_ptr<IFileSystemInfo> createFileSystemInfo(const std::wstring& fileName) = 0;
};

}
