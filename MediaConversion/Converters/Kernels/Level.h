#pragma once

namespace MediaConversion {

// The vector instructions that a set of kernels is compiled for. Every kernel is compiled for each
// of them from the same source, and all give the same bytes.
enum class Level
{
    Baseline,  // what every machine of the architecture has
    Sse41,     // and what came before it
    Avx2,
    Avx512,  // F, BW, DQ and VL
};

// The best level of this machine.
Level bestLevel();

// The level whose kernels convert from now on: at first the best. For tests and benchmarks; not
// while a conversion runs. The machine has to have it.
void useLevel(Level level);

}
