#include "DDImage/FileReader.h"

#include <unistd.h>

namespace DD::Image {

FileReader::FileReader(Read* readOperator, int descriptor, const unsigned char*, int)
    : Reader(readOperator), m_descriptor(descriptor)
{
}

FileReader::~FileReader()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

}
