#include "tools/Report.h"

#include "tools/Messages.h"

#include <cstdio>
#include <iostream>

namespace Zeq {

void reportError(const std::string& text)
{
    const auto line = "zeq: " + shown(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void reportError(const std::string& file, const std::string& text)
{
    reportError(file + ": " + text);
}

bool flushOutput()
{
    if (std::cout.flush())
        return true;
    reportError("The output could not be written");
    return false;
}

}
