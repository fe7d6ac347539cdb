#pragma once

#include <string>

namespace Benchmarks {

// On what and when the program runs, a Markdown table: processor, compiler, libraries, date.
std::string machineTable();

}
