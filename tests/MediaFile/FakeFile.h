#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace MediaFileTests {

// A file in memory, what is wrong with it, and what has been done to it.
struct FakeFile
{
    std::string bytes = {};

    int faultyRead =
        0;  // counted from 1 over all openings; sets the bits after the bytes are there
    std::ios_base::iostate faultBits = std::ios_base::goodbit;
    bool seeksToItsEnd = true;
    bool opensFailedAtItsEnd = false;
    bool hasStreams = true;
    int openings = 1000;                           // how many succeed
    bool hasInfo = true;                           // the factory tells size and alignment
    std::optional<std::uint64_t> sizeInInfo = {};  // if not the true one
    std::uint64_t unit = 16;

    std::vector<std::streamsize> reads = {};  // their sizes
    std::vector<std::string> calls = {};      // close, open and caching, in their order
};

class FakeStream final : public MediaConversion::IFileStream, public MediaConversion::IFileCaching
{
public:
    explicit FakeStream(FakeFile& file) : m_file(file) {}

    void clear() override { m_stream.clear(); }
    bool fail() const override { return m_stream.fail(); }
    bool good() const override { return m_stream.good(); }
    bool eof() const override { return m_stream.eof(); }
    std::streamsize gcount() const override { return m_stream.gcount(); }

    void read(char* buffer, std::streamsize count) override
    {
        m_stream.read(buffer, count);
        m_file.reads.push_back(count);
        if (static_cast<int>(m_file.reads.size()) == m_file.faultyRead)
            m_stream.setstate(m_file.faultBits);
    }
    void write(const char*, std::streamsize) override { m_stream.setstate(std::ios::badbit); }

    void seek(std::streamoff offset, std::ios_base::seekdir direction) override
    {
        m_stream.seekg(offset, direction);
        if (!m_file.seeksToItsEnd && direction == std::ios_base::end)
            m_stream.setstate(std::ios_base::failbit);
    }
    void seek(std::streampos position) override { m_stream.seekg(position); }
    std::streampos tell() override { return m_stream.tellg(); }

    void open(const std::wstring&, std::ios_base::openmode mode) override
    {
        const bool forReading = mode == (std::ios_base::in | std::ios_base::binary);
        m_file.calls.push_back(forReading ? "open" : "open in another mode");
        m_isOpen = m_file.openings-- > 0;
        m_stream = std::istringstream(m_file.bytes);
        if (m_file.opensFailedAtItsEnd)
            m_stream.ignore(1 << 20).get();
    }
    void open(const std::string&, std::ios_base::openmode mode) override { open(L"", mode); }
    void open(const char*, std::ios_base::openmode mode) override { open(L"", mode); }
    bool is_open() const override { return m_isOpen; }

    void close() override
    {
        m_file.calls.push_back("close");
        m_isOpen = false;
    }

    void setCaching(MediaConversion::CachingMode mode) override
    {
        const bool cached = mode == MediaConversion::CachingMode::Cached;
        m_file.calls.push_back(cached ? "cached" : "uncached");
    }

private:
    FakeFile& m_file;
    std::istringstream m_stream;
    bool m_isOpen = false;
};

class FakeFileFactory final : public MediaConversion::IFileStreamFactory,
                              public MediaConversion::IFileSystemInfoFactory
{
public:
    explicit FakeFileFactory(FakeFile& file) : m_file(file) {}

    std::unique_ptr<MediaConversion::IFileStream> create() override
    {
        return m_file.hasStreams ? std::make_unique<FakeStream>(m_file) : nullptr;
    }

    std::unique_ptr<MediaConversion::IFileSystemInfo> createFileSystemInfo(
        const std::wstring&) override
    {
        struct Info final : MediaConversion::IFileSystemInfo
        {
            explicit Info(const FakeFile& fake) : file(fake) {}
            std::uint64_t fileSize() const override
            {
                return file.sizeInInfo.value_or(file.bytes.size());
            }
            std::uint64_t alignmentUnit() const override { return file.unit; }
            const FakeFile& file;
        };
        return m_file.hasInfo ? std::make_unique<Info>(m_file) : nullptr;
    }

private:
    FakeFile& m_file;
};

}
