#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/support/ExpectError.h"
#include "tests/support/InstalledPool.h"

#include <algorithm>

namespace MediaConversion::MediaFileTests {

inline const std::string corrupt = "Media file is corrupt";
inline const std::string endOfFile = "Media file has unexpectedly reached End-Of-File";
inline const std::string noHeader = "Media header not available, check the file is open";
inline const std::string notDirectly = "Failed to open file for direct reading";

// A reader of files in memory, and the words to tell a test about it.
class ReaderFixture : public testing::Test
{
protected:
    // A file that the next open finds.
    void giveFile(const MediaFileBytes& content) { file.bytes = content.bytes(); }
    void open() { reader.open(L"name"); }

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

    // Opens a file whose frame cannot be read.
    template <class Exception = MediaFileAccessException>
    void expectFrameError(const std::string& text)
    {
        open();
        expectReadError<Exception>(text);
        expectClosed();
    }
    // Opens a file and expects these bytes in its frame.
    void expectFrame(const Velmora::FrameFormat& format, int rows, int columns,
                     const std::string& bytes)
    {
        open();
        const auto frame = reader.readFrame();
        EXPECT_EQ(frame->format(), format);
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
        EXPECT_EQ(image.size(), cv::Size(columns, rows));
        ASSERT_EQ(image.total() * image.elemSize(), bytes.size());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), image.ptr<char>()));
        expectClosed();
    }
    void expectSmallPicture()
    {
        expectFrame(Velmora::Formats::RGB_U8(), 2, 3, smallPicture().data);
    }

    InstalledPool installed;
    FakeFile file;
    FakeFileFactory factory{file};
    VelmoraMediaFileReader reader{factory};
};

}
