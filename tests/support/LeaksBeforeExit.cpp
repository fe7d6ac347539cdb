#include <sanitizer/lsan_interface.h>

#include <cstdlib>

// Looks for leaks before libraries end their threads. Afterwards, as would be usual, the leak
// sanitiser of clang 14 crashes now and then, over a thread that is just ending.
namespace {

[[maybe_unused]] const bool isRegistered = std::atexit(__lsan_do_leak_check) == 0;

}
