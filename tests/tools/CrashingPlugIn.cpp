// A plug-in that brings down who loads it.
#include <cstdlib>

namespace {

const struct Crash
{
    Crash() { std::abort(); }
} crash;

}
