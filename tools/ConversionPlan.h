#pragma once

#include "tools/InputFiles.h"

#include <string>
#include <vector>

namespace Zeq {

// One file to be made of another.
struct Conversion
{
    std::string input;
    std::string output;
    std::string problem = {};  // of the input, which then becomes no output
};

// Finds each input's output: a file's name, the name of a sequence, which takes the input's number,
// or a folder, in which a file takes the input's name with another extension. Throws a UsageError
// when an output would be written twice or is an input that is still to be read.
std::vector<Conversion> planConversions(const std::vector<InputFile>& inputs,
                                        const std::string& output, const std::string& extension);

// Whether the name is that of a folder: of one that exists, or it ends like one.
bool isFolderName(const std::string& name);

}
