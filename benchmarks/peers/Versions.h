#pragma once

#include <string>

namespace Benchmarks::Peers {

// Of the libraries that are compared with and say theirs: "FFmpeg 5.1, OpenImageIO 2.4.7".
std::string versions();

}
