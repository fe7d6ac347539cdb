#include "imaging/PictureWriter.h"

#include "imaging/CheckedFile.h"
#include "imaging/OpenImageIo.h"
#include "imaging/Picture.h"
#include "imaging/Samples.h"

#include <OpenImageIO/imageio.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace Imaging {

namespace {

[[noreturn]] void failToWrite(const std::string& text)
{
    failWith(text, "Cannot be written");
}

// TIFF files have the highest strips of all that are written, of 32 rows, or 64 if asked for.
constexpr int rowsPerStrip = 64;

OIIO::ImageSpec descriptionOf(cv::Size size, SampleDepth depth, bool hasAlpha)
{
    const auto& facts = factsOf(depth);
    const auto sampleType = facts.isFloat
                                ? facts.bits == 16 ? OIIO::TypeDesc::HALF : OIIO::TypeDesc::FLOAT
                            : facts.bits == 8 ? OIIO::TypeDesc::UINT8
                                              : OIIO::TypeDesc::UINT16;
    OIIO::ImageSpec description(size.width, size.height, hasAlpha ? 4 : 3, sampleType);
    if (facts.bits % 8 != 0)
        description["oiio:BitsPerSample"] = facts.bits;
    description["oiio:UnassociatedAlpha"] = 1;
    // A writer that is told no time takes the present one; what is no text is not written.
    description["DateTime"] = 0;
    return description;
}

// OpenImageIO may be built to print remarks for its developers, such as on a time that is no text.
void silenceRemarks()
{
    [[maybe_unused]] static const bool isSilent = OIIO::attribute("debug", 0);
}

// `fillRow` gives the samples of a row in the order of the file.
template <class FillRow>
void writeRows(const std::string& fileName, const std::string& heldName,
               const OIIO::ImageSpec& description, const FillRow& fillRow)
{
    // Outlives the writer, which closes what it has not written whole when it is destroyed.
    CheckedFile file;
    silenceRemarks();
    const auto output = OIIO::ImageOutput::create(fileName);
    if (!output)
        failToWrite(OIIO::geterror());
    file.open(fileName);
    if (!output->set_ioproxy(&file) || !output->open(heldName, description))
        failToWrite(output->geterror());
    // A writer takes what it knows instead of what it does not.
    if (output->spec().format != description.format)
        failToWrite("This kind of file cannot hold samples of this depth");

    const auto rowSize = description.scanline_bytes();
    const int bandRows = std::min(bandHeight(rowsPerStrip), description.height);
    std::vector<std::byte> band(rowSize * static_cast<std::size_t>(bandRows));
    bool isWritten = true;
    forEachBand(description.height, bandRows, [&](int first, int end) {
        cv::parallel_for_(cv::Range(first, end), [&](const cv::Range& rows) {
            for (int row = rows.start; row < rows.end; ++row)
                fillRow(row, &band[rowSize * static_cast<std::size_t>(row - first)]);
        });
        isWritten =
            isWritten && output->write_scanlines(first, end, 0, description.format, band.data());
    });
    isWritten = isWritten && output->close();
    file.finish();
    if (!isWritten)
        failToWrite(output->geterror());
}

void writeHostPicture(const HostPicture& picture, const std::string& fileName, SampleDepth depth)
{
    writeRows(fileName, fileName, descriptionOf({picture.width, picture.height}, depth, true),
              [&](int row, std::byte* samples) {
                  toSamples(picture.pixel(0, row), picture.width * HostPicture::channels, depth,
                            samples);
              });
}

}

void writePicture(const std::string& fileName, const Picture& picture, const std::string& heldName)
{
    auto description = descriptionOf(picture.size, picture.depth, picture.hasAlpha);
    if (!picture.time.empty())
        description["DateTime"] = picture.time;
    const auto [pixels, place] = shownPart(picture);
    writeRows(fileName, heldName, description,
              [&, &shown = pixels, &place = place](int row, std::byte* samples) {
                  const bool isShown = place.y <= row && row < place.br().y;
                  if (!isShown || place.width < picture.size.width)
                      std::fill_n(samples, description.scanline_bytes(), std::byte{0});
                  if (!isShown)
                      return;
                  std::vector<float> floats(
                      static_cast<std::size_t>(place.width * description.nchannels));
                  toChannels(shown.ptr<cv::Vec4f>(row - place.y), place.width, picture.hasAlpha,
                             floats.data());
                  toSamples(
                      floats.data(), place.width * description.nchannels, picture.depth,
                      samples + static_cast<std::size_t>(place.x) * description.pixel_bytes());
              });
}

void writePicture(const std::string& fileName, const cv::Mat& rgb)
{
    const auto description = descriptionOf(rgb.size(), SampleDepth::U8, false);
    writeRows(fileName, fileName, description, [&](int row, std::byte* samples) {
        std::memcpy(samples, rgb.ptr(row), description.scanline_bytes());
    });
}

void writePng(const HostPicture& picture, const std::filesystem::path& path)
{
    writeHostPicture(picture, path, picture.depth == 8 ? SampleDepth::U8 : SampleDepth::U16);
}

void writeExr(const HostPicture& picture, const std::filesystem::path& path)
{
    writeHostPicture(picture, path, SampleDepth::F32);
}

}
