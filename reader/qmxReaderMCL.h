#pragma once

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <DDImage/FileReader.h>

#include <memory>
#include <string>

// Shows one media file to the host: its size when constructed, its rows once opened. Standard
// exceptions are reported to the host's read operator, without one to standard error; a reader that
// failed has no frame, or still the one before.
class qmxReaderMCL final : public DD::Image::FileReader
{
public:
    qmxReaderMCL(DD::Image::Read* readOperator, int descriptor, const unsigned char* block,
                 int length);
    ~qmxReaderMCL() override;

    // Reads and converts the frame. Not while rows are asked for.
    void open() override;

    // Writes all four channels, whichever are asked for. What lies outside the stored frame is 0:
    // its size and that of the picture come from different headers.
    void engine(int y, int x, int r, DD::Image::ChannelMask channels, DD::Image::Row& row) override;

private:
    template <class Operation>
    void reportErrors(Operation&& operation);

    void readHeader();
    void readFrame();
    void writeRow(int y, int x, int r, DD::Image::Row& row);
    std::wstring wideFileName() const;

    DD::Image::Read* m_readOperator;
    std::unique_ptr<MediaConversion::Encoder> m_encoder;
    MediaConversion::FrameSinkDestination m_frameSink;
    std::unique_ptr<Velmora::IFrame> m_frame;
};
