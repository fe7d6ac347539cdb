#include "MediaConversion/Encoder/Filters.h"

namespace MediaConversion {

std::unique_ptr<Velmora::IFrame> NoOperation::process(std::unique_ptr<Velmora::IFrame> frame) const
{
    if (frame->format() != m_format)
        fail("Source format ", frame->format(), " does not match destination format ", m_format);
    return frame;
}

}
