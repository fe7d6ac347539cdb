#pragma once

#include "MediaConversion/MediaFile/MediaFileAccessException.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/support/ExpectError.h"
#include "tests/support/InstalledPool.h"
#include "tests/support/MediaFileBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

namespace MediaFileTests {

inline const std::string corrupt = "Media file is corrupt";
inline const std::string endOfFile = "Media file has unexpectedly reached End-Of-File";
inline const std::string bad = "Media file is bad";
inline const std::string noHeader = "Media header not available, check the file is open";
inline const std::string notDirectly = "Failed to open file for direct reading";
inline const std::string noPool = "ImageFrame has no memory pool - did you forget to set it?";
inline const std::string noTextures = "Not built with OpenGL support";

inline std::string noise(std::size_t size)
{
    std::string bytes(size, '\0');
    unsigned state = 1;
    for (auto& byte : bytes)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

// Remembers the largest block asked for.
class MeasuringPool final : public Velmora::IMemoryPool
{
public:
    Velmora::IMemoryResource* acquire(std::uint64_t size) override
    {
        largest = std::max(largest, size);
        return m_pool.acquire(size);
    }
    void release(Velmora::IMemoryResource* resource) override { m_pool.release(resource); }
    std::uint64_t count() const override { return m_pool.count(); }

    std::uint64_t largest = 0;

private:
    Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource> m_pool;
};

// A reader of files in memory, and the words to tell a test about it.
class ReaderFixture : public testing::Test
{
protected:
    using MediaFileAccessException = MediaConversion::MediaFileAccessException;

    // A file that the next open finds.
    void giveFile(const MediaFileBytes& content) { file.bytes = content.bytes(); }
    void cutTo(std::size_t size) { file.bytes.resize(size); }
    void open() { reader.open(L"name"); }

    void expectOpenError(const std::string& text)
    {
        expectError<MediaFileAccessException>(text, [&] { open(); });
        expectClosed();
    }
    template <class Exception = MediaFileAccessException>
    void expectReadError(const std::string& text)
    {
        expectError<Exception>(text, [&] { reader.readFrame(); });
    }
    void expectClosed()
    {
        expectError<MediaFileAccessException>(noHeader, [&] { reader.mediaHeader(); });
        expectError<MediaFileAccessException>("Frame header not available, check the file is open",
                                              [&] { reader.frameHeader(); });
        expectReadError(noHeader);
    }
    void expectStillOpen() { EXPECT_NO_THROW(reader.frameHeader()); }

    // Reads a frame and expects these bytes in it.
    void expectFrame(const Velmora::FrameFormat& format, int rows, int columns,
                     const std::string& bytes)
    {
        const auto frame = reader.readFrame();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->format(), format);
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
        EXPECT_EQ(image.rows, rows);
        EXPECT_EQ(image.cols, columns);
        ASSERT_EQ(image.total() * image.elemSize(), bytes.size());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), image.ptr<char>()));
        expectClosed();
    }

    static MediaFileBytes smallPicture(std::uint8_t revision = 0)
    {
        auto content = MediaFileBytes::picture(0x200, 3, 2, noise(18));
        content.headerRevision = revision;
        return content;
    }

    std::shared_ptr<MeasuringPool> pool = std::make_shared<MeasuringPool>();
    InstalledPool installed{pool};
    FakeFile file;
    FakeFileFactory factory{file};
    MediaConversion::VelmoraMediaFileReader reader{factory};
};

}
