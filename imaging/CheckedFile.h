#pragma once

#include <OpenImageIO/filesystem.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace Imaging {

// A file for OpenImageIO to write to, which remembers the first byte that could not be written.
// OpenImageIO 2.4 does not: of its own files it loses failures to write a buffer's rest or to come
// back to a header, and for a JPEG file it ends the program. It is told that all goes well;
// finish() says whether that was so.
class CheckedFile final : public OIIO::Filesystem::IOProxy
{
public:
    CheckedFile() { m_buffer.reserve(bufferSize); }
    ~CheckedFile() override;

    // Throws a std::runtime_error.
    void open(const std::string& fileName);

    // The last call. Throws the reason for which what was written is not all in the file.
    void finish();

    // Not "file", for which some writers reach around it.
    const char* proxytype() const override { return "checked"; }

    std::size_t size() const override { return static_cast<std::size_t>(m_size); }

    std::size_t write(const void* bytes, std::size_t size) override;
    std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override;

    // Nobody reads what was written before it is finished.
    std::size_t read(void* bytes, std::size_t size) override;
    std::size_t pread(void* bytes, std::size_t size, std::int64_t offset) override;

private:
    // Some writers write single bytes.
    static constexpr std::size_t bufferSize = 1 << 16;

    std::size_t remember(int error);
    void flushBuffer();
    void writeAt(const std::byte* bytes, std::size_t size, std::int64_t offset);

    int m_descriptor = -1;
    int m_failure = 0;
    std::mutex m_mutex;
    std::vector<std::byte> m_buffer;
    std::int64_t m_bufferStart = 0;  // where in the file the buffer's bytes belong
    std::int64_t m_size = 0;
};

}
