#include "imaging/ImageOutput.h"

#include <OpenImageIO/filesystem.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace {

// A file for OpenImageIO to write to, which remembers the first byte that could not be written.
// OpenImageIO 2.4 does not: of its own files it loses failures to write a buffer's rest or to come
// back to a header, and for a JPEG file it ends the program. It is told that all goes well;
// finish() says whether that was so.
class CheckedFile final : public OIIO::Filesystem::IOProxy
{
public:
    CheckedFile() { m_buffer.reserve(bufferSize); }
    ~CheckedFile() override
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    void open(const std::string& fileName)
    {
        m_descriptor = ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                              S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
        if (m_descriptor < 0)
            throwReason(errno);
        m_filename = fileName;
        m_mode = Write;
    }

    // The last call. Throws the reason for which what was written is not all in the file.
    void finish()
    {
        flushBuffer();
        // File systems of other machines may tell here only. An interrupted close has closed.
        if (::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR)
            remember(errno);
        if (m_failure)
            throwReason(m_failure);
    }

    // Not "file", for which some writers reach around it.
    const char* proxytype() const override { return "checked"; }

    std::size_t size() const override { return static_cast<std::size_t>(m_size); }

    std::size_t write(const void* bytes, std::size_t size) override
    {
        pwrite(bytes, size, m_pos);
        m_pos += static_cast<std::int64_t>(size);
        return size;
    }

    std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override
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

    // Nobody reads what was written before it is finished.
    std::size_t read(void*, std::size_t) override { return remember(EBADF); }
    std::size_t pread(void*, std::size_t, std::int64_t) override { return remember(EBADF); }

private:
    // Some writers write single bytes.
    static constexpr std::size_t bufferSize = 1 << 16;

    [[noreturn]] static void throwReason(int error)
    {
        throw std::runtime_error(std::generic_category().message(error));
    }

    std::size_t remember(int error)
    {
        if (!m_failure)
            m_failure = error;
        return 0;
    }

    void flushBuffer()
    {
        writeAt(m_buffer.data(), m_buffer.size(), m_bufferStart);
        m_bufferStart += std::ssize(m_buffer);
        m_buffer.clear();
    }

    void writeAt(const std::byte* bytes, std::size_t size, std::int64_t offset)
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

    int m_descriptor = -1;
    int m_failure = 0;
    std::mutex m_mutex;
    std::vector<std::byte> m_buffer;
    std::int64_t m_bufferStart = 0;  // where in the file the buffer's bytes belong
    std::int64_t m_size = 0;
};

[[noreturn]] void fail(const std::string& text)
{
    throw std::runtime_error(text.empty() ? "Cannot be written" : text.substr(0, text.find('\n')));
}

}

void writeImage(const std::string& fileName, const std::string& heldName,
                const OIIO::ImageSpec& description, const Samples& samples)
{
    // Outlives the writer, which closes what it has not written whole when it is destroyed.
    CheckedFile file;
    const auto output = OIIO::ImageOutput::create(fileName);
    if (!output)
        fail(OIIO::geterror());
    file.open(fileName);
    if (!output->set_ioproxy(&file) || !output->open(heldName, description))
        fail(output->geterror());
    // A writer takes what it knows instead of what it does not.
    if (output->spec().format != description.format)
        fail("This kind of file cannot hold samples of this depth");
    const bool isWritten = output->write_image(samples.type, samples.first, samples.pixelDistance,
                                               samples.rowDistance) &&
                           output->close();
    file.finish();
    if (!isWritten)
        fail(output->geterror());
}
