#include "MediaConversion/Converters/ImageBitDepth.h"

#include "MediaConversion/Converters/Rows.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Frames.h"

namespace MediaConversion {

using Velmora::FrameFormat;

ImageBitDepth::ImageBitDepth(const FrameFormat& destination) : m_destination(destination) {}

std::unique_ptr<Velmora::IFrame> ImageBitDepth::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    const FrameFormat& source = full->format();
    if (source.colourspace != m_destination.colourspace)
        fail("Source colourspace ", source.colourspace, " does not match destination colourspace ",
             m_destination.colourspace);
    if (source.pixelFormat != m_destination.pixelFormat)
        fail("Source channel format ", source.pixelFormat,
             " does not match destination channel format ", m_destination.pixelFormat);
    const auto row = conversions().find({source.channelType, m_destination.channelType});
    if (row == conversions().end())
        fail("Bit depth conversion is not supported from ", source.channelType, " to ",
             m_destination.channelType);

    const auto& scaling = row->second;
    const cv::Mat& image = full->image();
    cv::Mat converted(image.size(), CV_MAKETYPE(scaling.depth, image.channels()));
    // convertTo itself runs on one thread.
    forEachBandOfRows(image.rows, [&](int first, int end) {
        cv::Mat band = converted.rowRange(first, end);
        image.rowRange(first, end).convertTo(band, scaling.depth, scaling.scale);
    });
    return std::make_unique<Velmora::FullFrame>(m_destination, converted);
}

const ImageBitDepth::Table& ImageBitDepth::conversions()
{
    using enum Velmora::ChannelType;
    // clang-format off
    static const Table& table = *new Table{
        //  from       to          depth     scale
        {{U8,       U8      }, {CV_8U,      1.0          }},
        {{U8,       U12     }, {CV_16U,  4095.0 / 255    }},
        {{U8,       U15plus1}, {CV_16U, 32768.0 / 255    }},
        {{U8,       F32     }, {CV_32F,     1.0 / 255    }},
        {{U12,      U8      }, {CV_8U,    255.0 / 4095   }},
        {{U12,      U15plus1}, {CV_16U, 32768.0 / 4095   }},
        {{U12,      F32     }, {CV_32F,     1.0 / 4095   }},
        {{U15plus1, U12     }, {CV_16U,  4095.0 / 32768  }},
        {{U16,      U8      }, {CV_8U,    255.0 / 65535  }},
        {{F32,      U8      }, {CV_8U,    255.0          }},
        {{F32,      U10     }, {CV_16U,  1023.0          }},
        {{F32,      U12     }, {CV_16U,  4095.0          }},
    };
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageBitDepth::conversions();

}

}
