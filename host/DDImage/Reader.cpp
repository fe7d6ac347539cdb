#include "DDImage/Reader.h"

namespace DD::Image {

void ReaderFormat::knobs(Knob_Closure&) {}

ReaderFormat::~ReaderFormat() = default;

Reader::Reader(Read* readOperator) : m_readOperator(readOperator) {}

Reader::~Reader() = default;

void Reader::open() {}

const char* Reader::filename() const
{
    return m_readOperator ? m_readOperator->filename() : nullptr;
}

void Reader::set_info(int width, int height, int depth, double pixelAspect)
{
    info_.size(width, height, pixelAspect > 0.0 ? pixelAspect : 1.0);
    m_depth = depth;
}

void Reader::from_float(Channel, float* to, const float* from, const float*, int count, int delta)
{
    for (int sample = 0; sample < count; ++sample, from += delta)
        to[sample] = *from;
}

}
