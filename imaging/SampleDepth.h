#pragma once

// How the samples of a picture are stored: as whole numbers of so many bits, or as floats of 16 or
// 32 bits.
enum class SampleDepth
{
    U8,
    U10,
    U12,
    U16,
    F16,
    F32,
};
