#pragma once

#include "DDImage/Reader.h"

namespace DD::Image {

// A reader of a file that the host has opened and looked into. It takes the descriptor over and
// closes it; one below 0 stands for none.
class FileReader : public Reader
{
public:
    FileReader(Read* readOperator, int descriptor, const unsigned char* block, int length);
    ~FileReader() override;

private:
    int m_descriptor;
};

}
