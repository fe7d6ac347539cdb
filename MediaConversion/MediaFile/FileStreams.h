#pragma once

#include "MediaConversion/MediaFile/FileNames.h"

#include <cstdint>
#include <fstream>
#include <ios>
#include <istream>
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

// Opens a file by ::open's flags, for this process alone: a program that it starts does not inherit
// the descriptor. Nothing but a regular file is opened or waited for, whatever takes the name in
// the meantime. -1 when that fails.
int openRegularFile(const char* fileName, int flags);

// The standard file buffer, but for how it opens: regular files only, and without waiting for any
// other, and for this process alone. Large reads take two threads.
class FileBuffer final : public std::filebuf
{
public:
    // Null when that fails, or when a file is open already.
    FileBuffer* open(const char* fileName, std::ios_base::openmode mode);

protected:
    std::streamsize xsgetn(char* destination, std::streamsize count) override;

private:
    int m_descriptor = -1;
};

// False for what exists and is no regular file. A first look, so that no device is touched: what is
// opened then may be another file.
bool mayBeOpenedAsFile(const char* fileName);

// A file stream over a stream buffer that opens and closes files as std::filebuf does.
template <class Buffer>
class FileStreamOver : public IFileStream
{
public:
    FileStreamOver() = default;

    FileStreamOver(const FileStreamOver&) = delete;
    FileStreamOver& operator=(const FileStreamOver&) = delete;

    void clear() override { m_stream.clear(); }
    bool fail() const override { return m_stream.fail(); }
    bool good() const override { return m_stream.good(); }
    bool eof() const override { return m_stream.eof(); }
    std::streamsize gcount() const override { return m_stream.gcount(); }

    void read(char* buffer, std::streamsize count) override { m_stream.read(buffer, count); }
    void write(const char* buffer, std::streamsize count) override
    {
        m_stream.write(buffer, count);
    }

    void seek(std::streamoff offset, std::ios_base::seekdir direction) override
    {
        m_stream.seekg(offset, direction);
    }
    void seek(std::streampos position) override { m_stream.seekg(position); }
    std::streampos tell() override { return m_stream.tellg(); }

    void open(const std::wstring& fileName, std::ios_base::openmode mode) override
    {
        if (const auto narrow = narrowFileName(fileName))
            open(narrow->c_str(), mode);
        else
            m_stream.setstate(std::ios_base::failbit);
    }

    void open(const std::string& fileName, std::ios_base::openmode mode) override
    {
        // As characters, a name with a NUL inside would be another file's name.
        if (fileName.find('\0') == std::string::npos)
            open(fileName.c_str(), mode);
        else
            m_stream.setstate(std::ios_base::failbit);
    }

    void open(const char* fileName, std::ios_base::openmode mode) override
    {
        if (mayBeOpenedAsFile(fileName) && m_buffer.open(fileName, mode))
            m_stream.clear();
        else
            m_stream.setstate(std::ios_base::failbit);
    }

    bool is_open() const override { return m_buffer.is_open(); }

    void close() override
    {
        if (!m_buffer.close())
            m_stream.setstate(std::ios_base::failbit);
    }

protected:
    Buffer& buffer() { return m_buffer; }

private:
    Buffer m_buffer;
    std::iostream m_stream{&m_buffer};
};

extern template class FileStreamOver<FileBuffer>;

// The standard buffered file stream of bytes.
class FileStream final : public FileStreamOver<FileBuffer>
{
};

class FileStreamFactory final : public IFileStreamFactory
{
public:
    std::unique_ptr<IFileStream> create() override { return std::make_unique<FileStream>(); }
};

}
