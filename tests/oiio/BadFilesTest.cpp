#include "tests/oiio/ImageIoTest.h"

#include <exception>
#include <initializer_list>
#include <iterator>

using namespace testing;
using MediaConversion::mediaFormatCodes;

namespace {

// Thousands of media files that are wrong, or look like it, bring the library's text through the
// plug-in, before a host takes memory for them; and all others are read.
class BadImageFiles : public ImageIoTest
{
protected:
    void expectTheLibrarysText(const std::string& bytes)
    {
        if (HasFailure())
            return;  // one file says enough
        // A new file: one that is written over goes to the disc at once, and we wait for it.
        const auto file = folder.file("bad.zeq");
        std::filesystem::remove(file);
        writeFile(file, bytes);
        const auto expected = libraryText(file);
        OIIO::ImageSpec description;
        const bool isOpen = m_input->open(file, description);
        EXPECT_EQ(m_input->geterror(), expected);
        EXPECT_EQ(isOpen, expected.empty());
        if (isOpen)
            samplesOf<float>(*m_input);
        EXPECT_FALSE(HasFailure())
            << bytes.size() << " bytes: " << PrintToString(bytes.substr(0, 48));
    }

    // With the data that it claims unless that is much.
    static MediaFileBytes picture(std::uint32_t code, std::uint16_t width = 4,
                                  std::uint16_t height = 4)
    {
        const auto format = mediaFormatCodes().find(code);
        const auto size = format == mediaFormatCodes().end()
                              ? 64
                              : MediaConversion::frameDataSize(format->second, width, height);
        return MediaFileBytes::picture(code, width, height,
                                       std::string(size <= 1 << 18 ? size : 0, '\x5A'));
    }

private:
    static std::string libraryText(const std::string& file)
    {
        try {
            const auto frame = MediaConversion::readMediaFile(file);
            const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
            return image.empty() ? "no image data in frame" : "";
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    const std::unique_ptr<OIIO::ImageInput> m_input = OIIO::ImageInput::create("zeq");
};

TEST_F(BadImageFiles, thatAreCut)
{
    for (const auto& [code, format] : mediaFormatCodes())
        for (const int revision : {0, 2}) {
            auto file = picture(code);
            file.headerRevision = static_cast<std::uint8_t>(revision);
            for (std::size_t size = 0; size <= file.bytes().size(); ++size)
                expectTheLibrarysText(file.bytesCutTo(size));
        }
}

// In every format that has so large frames, the bytes of some wrap 32 bits to a few, which the file
// has.
TEST_F(BadImageFiles, ofAllSizes)
{
    const std::initializer_list<std::uint16_t> sizes{
        0, 1, 2, 3, 4, 5, 8, 255, 29128, 32767, 32768, 32770, 43691, 43694, 52429, 65534, 65535};
    for (const auto& [code, format] : mediaFormatCodes())
        for (const auto width : sizes)
            for (const auto height : sizes) {
                const auto bytes = picture(code, width, height).bytes();
                expectTheLibrarysText(bytes);
                expectTheLibrarysText(bytes.substr(0, bytes.size() - 1));
                expectTheLibrarysText(bytes + "more");
            }
}

// Each byte of the headers has all its values.
TEST_F(BadImageFiles, ofAnyHeaderAndCode)
{
    for (const auto revision : {'\0', '\2'})
        for (std::size_t byte = 0; byte < (revision ? 48 : 28); ++byte)
            for (int value = 0; value < 256; ++value) {
                auto file = picture(std::next(begin(mediaFormatCodes()), value % 13)->first);
                file.headerRevision = static_cast<std::uint8_t>(revision);
                expectTheLibrarysText(file.bytes().replace(byte, 1, 1, static_cast<char>(value)));
            }
    for (const auto& [code, format] : mediaFormatCodes())
        for (int bit = 0; bit < 32; ++bit)
            expectTheLibrarysText(picture(code ^ 1u << bit).bytes());
}

// OpenImageIO tries all other readers on a file that ours refuses, and reports our text alone.
TEST_F(BadImageFiles, bringOneMessageToAHost)
{
    auto file = picture(0x200);
    file.data.pop_back();
    EXPECT_FALSE(OIIO::ImageInput::open(write(file)));
    EXPECT_EQ(OIIO::geterror(), "Media file has unexpectedly reached End-Of-File");
}

}
