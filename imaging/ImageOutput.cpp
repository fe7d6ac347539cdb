#include "imaging/ImageOutput.h"

#include <OpenImageIO/filesystem.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace {

// A file that remembers when it could not be written, as OpenImageIO 2.4 does not: it takes a PNG
// file for written that is cut short by a full disk, and for a JPEG file it ends the program.
class CheckedFile final : public OIIO::Filesystem::IOFile
{
public:
    explicit CheckedFile(const std::string& fileName) : IOFile(fileName, Write)
    {
        if (!opened())
            m_failure = errno;
    }

    // Not "file", for which some writers reach around it.
    const char* proxytype() const override { return "checked"; }

    std::size_t write(const void* bytes, std::size_t size) override
    {
        return checked(IOFile::write(bytes, size), size);
    }

    std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override
    {
        return checked(IOFile::pwrite(bytes, size, offset), size);
    }

    void throwFailure()
    {
        if (handle() && std::fflush(handle()) != 0)
            checked(0, 1);
        if (m_failure)
            throw std::runtime_error(std::generic_category().message(m_failure));
    }

private:
    std::size_t checked(std::size_t written, std::size_t size)
    {
        if (written != size && !m_failure)
            m_failure = errno ? errno : EIO;
        return size;
    }

    int m_failure = 0;
};

[[noreturn]] void fail(const std::string& text)
{
    throw std::runtime_error(text.empty() ? "Cannot be written" : text.substr(0, text.find('\n')));
}

}

void writeImage(const std::string& fileName, const OIIO::ImageSpec& description,
                const Samples& samples)
{
    const auto output = OIIO::ImageOutput::create(fileName);
    if (!output)
        fail(OIIO::geterror());
    CheckedFile file(fileName);
    file.throwFailure();
    output->set_ioproxy(&file);
    if (!output->open(fileName, description))
        fail(output->geterror());
    // A writer takes what it knows instead of what it does not.
    if (output->spec().format != description.format)
        fail("This kind of file cannot hold samples of this depth");
    const bool isWritten = output->write_image(samples.type, samples.first, samples.pixelDistance,
                                               samples.rowDistance) &&
                           output->close();
    file.throwFailure();
    if (!isWritten)
        fail(output->geterror());
}
