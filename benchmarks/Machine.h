#pragma once

#include <string>

namespace Benchmarks {

// Takes the kernel level that KERNEL_LEVEL names, and adds to the context of Google Benchmark's
// report what it does not say of the machine by itself.
void describeMachine();

}
