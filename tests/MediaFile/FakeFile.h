#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"
#include "tests/support/MediaFileBytes.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace MediaConversion::MediaFileTests {

inline std::string noise(std::size_t size)
{
    std::string bytes(size, '\0');
    std::ranges::generate(bytes, [random = std::mt19937()]() mutable { return char(random()); });
    return bytes;
}

// 28 bytes of headers and 18 of pixels.
inline MediaFileBytes smallPicture()
{
    return MediaFileBytes::picture(0x200, 3, 2, noise(18));
}

// A file in memory, what is wrong with it, and what has been done to it.
struct FakeFile
{
    std::string bytes = smallPicture().bytes();
    std::uint64_t sizeInInfo = 46;
    std::uint64_t unit = 16;

    bool hasStreams = true;
    bool tellsItsEnd = true;     // otherwise seeking there fails
    int openings = 1000;         // how many succeed
    std::size_t faultyCall = 0;  // counted from 1 over all that changes a stream
    std::ios::iostate faultBits = std::ios::goodbit;  // it sets them when it is done
    bool isUndone = false;                            // and also before

    std::vector<std::string> streamCalls = {};  // their names
    std::vector<std::streamsize> reads = {};    // their sizes
    std::string calls = {};                     // open, close and caching, in their order
};

// Has failed until it is cleared for the first time.
class FakeStream final : public IFileStream, public IFileCaching
{
public:
    explicit FakeStream(FakeFile& file) : m_file(file) { m_stream.setstate(std::ios::failbit); }

    void clear() override { call("clear")->clear(); }
    bool fail() const override { return m_stream.fail(); }
    bool good() const override { return m_stream.good(); }
    bool eof() const override { return m_stream.eof(); }
    std::streamsize gcount() const override { return m_stream.gcount(); }
    void read(char* buffer, std::streamsize count) override
    {
        call("read")->read(buffer, count);
        m_file.reads.push_back(count);
    }
    void write(const char*, std::streamsize) override {}
    void seek(std::streamoff to, std::ios::seekdir from) override
    {
        call("seek")->seekg(to, from);
        if (from == std::ios::end && !m_file.tellsItsEnd)
            m_stream.setstate(std::ios::failbit);
    }
    void seek(std::streampos position) override { call("seek")->seekg(position); }
    std::streampos tell() override { return call("tell")->tellg(); }

    void open(const std::wstring&, std::ios::openmode mode) override
    {
        m_file.calls += mode == (std::ios::in | std::ios::binary) ? "open " : "another mode ";
        m_isOpen = m_file.openings-- > 0;
        call("open")->str(m_file.bytes);
    }
    void open(const std::string&, std::ios::openmode mode) override { open(L"", mode); }
    void open(const char*, std::ios::openmode mode) override { open(L"", mode); }
    bool is_open() const override { return m_isOpen; }
    void close() override { m_file.calls += "close ", call("close"); }
    void setCaching(CachingMode mode) override
    {
        m_file.calls += mode == CachingMode::Cached ? "cached " : "uncached ";
    }

private:
    struct Call
    {
        ~Call() { stream.setstate(bits); }
        std::istringstream* operator->() const { return &stream; }
        std::istringstream& stream;
        std::ios::iostate bits;
    };

    // The stream for one call, which is over with the statement.
    Call call(const char* name)
    {
        m_file.streamCalls.push_back(name);
        const bool isFaulty = m_file.streamCalls.size() == m_file.faultyCall;
        const auto bits = isFaulty ? m_file.faultBits : std::ios::goodbit;
        if (m_file.isUndone)
            m_stream.setstate(bits);
        return {m_stream, bits};
    }

    FakeFile& m_file;
    std::istringstream m_stream;
    bool m_isOpen = false;
};

struct FakeInfo final : IFileSystemInfo
{
    explicit FakeInfo(const FakeFile& fake) : file(fake) {}
    std::uint64_t fileSize() const override { return file.sizeInInfo; }
    std::uint64_t alignmentUnit() const override { return file.unit; }
    const FakeFile& file;
};

struct FakeFileFactory final : IFileStreamFactory, IFileSystemInfoFactory
{
    explicit FakeFileFactory(FakeFile& fake) : file(fake) {}
    std::unique_ptr<IFileStream> create() override
    {
        return file.hasStreams ? std::make_unique<FakeStream>(file) : nullptr;
    }
    std::unique_ptr<IFileSystemInfo> createFileSystemInfo(const std::wstring&) override
    {
        return std::make_unique<FakeInfo>(file);
    }
    FakeFile& file;
};

}
