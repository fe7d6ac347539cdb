#pragma once

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"

#include <istream>
#include <string>

namespace MediaConversion {

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

}
