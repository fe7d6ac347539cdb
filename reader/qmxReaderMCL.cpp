#include "reader/qmxReaderMCL.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "reader/FrameForHost.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <utility>

using namespace DD::Image;
using MediaConversion::Encoder;
using MediaConversion::fail;
using Velmora::Formats::BGRA_F32;

namespace {

// Keeps an encoder started for its scope. When a frame fails on its way the encoder is stopped all
// the same, so that it takes the next one.
class EncoderRun
{
public:
    explicit EncoderRun(Encoder& encoder) : m_encoder(encoder) { m_encoder.start(); }

    EncoderRun(const EncoderRun&) = delete;
    EncoderRun& operator=(const EncoderRun&) = delete;

    ~EncoderRun()
    {
        try {
            if (m_encoder.state() == MediaConversion::EncoderState::Encoding)
                m_encoder.stop();
        } catch (const std::exception&) {
            // The failure that is on its way already is the one to report.
        }
    }

    void stop() { m_encoder.stop(); }

private:
    Encoder& m_encoder;
};

const Velmora::FrameFormat& fileFormat(std::uint32_t code)
{
    const auto& formats = MediaConversion::mediaFormatCodes();
    const auto format = formats.find(code);
    if (format == formats.end())
        fail("Frame reading is not supported for zeq media header format 0x",
             MediaConversion::hexadecimal(code));
    return format->second;
}

}

qmxReaderMCL::qmxReaderMCL(Read* readOperator, int descriptor, const unsigned char* block,
                           int length)
    : FileReader(readOperator, descriptor, block, length),
      m_readOperator(readOperator),
      m_encoder(std::make_unique<Encoder>(BGRA_F32(), BGRA_F32()))
{
    reportErrors([this] { readHeader(); });
}

qmxReaderMCL::~qmxReaderMCL() = default;

void qmxReaderMCL::open()
{
    reportErrors([this] { readFrame(); });
}

void qmxReaderMCL::engine(int y, int x, int r, ChannelMask, Row& row)
{
    reportErrors([&] { writeRow(y, x, r, row); });
}

template <class Operation>
void qmxReaderMCL::reportErrors(Operation&& operation)
{
    try {
        operation();
    } catch (const std::exception& exception) {
        if (m_readOperator)
            m_readOperator->critical("%s", exception.what());
        else
            std::fprintf(stderr, "%s\n", exception.what());
    }
}

void qmxReaderMCL::readHeader()
{
    if (!m_readOperator)
        fail("Invalid Op passed to qmxReader");

    MediaConversion::FileStreamFactory streamFactory;
    MediaConversion::VelmoraMediaFileReader fileReader(streamFactory);
    fileReader.open(wideFileName());
    const auto header = fileReader.mediaHeader();
    const auto& format = fileFormat(header.mediaFormatCode);

    m_encoder = std::make_unique<Encoder>(format, BGRA_F32());
    m_encoder->connectFrameSink(&m_frameSink);

    set_info(header.width, header.height, ForHost::depth(format.channelType), 0.0);
    info_.channels(Mask_RGBA);
}

void qmxReaderMCL::readFrame()
{
    MediaConversion::FileStreamFactory streamFactory;
    MediaConversion::VelmoraMediaFileReader fileReader(streamFactory);
    fileReader.open(wideFileName());
    auto frame = fileReader.readFrame();

    EncoderRun run(*m_encoder);
    m_encoder->onNewFrame(std::move(frame));
    m_frame = m_frameSink.takeFrame();
    run.stop();
}

// The host counts rows from the bottom, the frame from the top.
void qmxReaderMCL::writeRow(int y, int x, int r, Row& row)
{
    const cv::Mat& image = ForHost::image(m_frame.get());
    if (x >= r)
        return;
    const std::int64_t sourceRow = std::int64_t{height()} - 1 - y;
    const bool isStored = 0 <= sourceRow && sourceRow < image.rows;
    const int first = isStored ? std::clamp(0, x, r) : r;
    const int last = isStored ? std::clamp(image.cols, first, r) : r;
    const float* source =
        first < last ? image.ptr<float>(static_cast<int>(sourceRow), first) : nullptr;

    for (const auto channel : {Chan_Blue, Chan_Green, Chan_Red, Chan_Alpha}) {
        float* const samples = row.writable(channel);
        std::fill(samples + x, samples + first, 0.f);
        if (source)
            from_float(channel, samples + first, source++, nullptr, last - first, image.channels());
        std::fill(samples + last, samples + r, 0.f);
    }
}

std::wstring qmxReaderMCL::wideFileName() const
{
    const char* const name = filename();
    if (!name)
        fail("Reader could not obtain filename");
    return MediaConversion::wideFileName(name);
}
