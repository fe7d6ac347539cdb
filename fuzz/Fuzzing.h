#pragma once

#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

// What a fuzzer does with an input.
void fuzz(FuzzedDataProvider& input);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    fuzz(input);
    return 0;
}

// Ends the fuzzer, which keeps the input and shows from where it was called.
[[gnu::noinline]] inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline void requireText(const std::string& expected, const std::string& actual)
{
    if (actual != expected)
        std::cerr << "expected: " << expected << "\nactual:   " << actual << std::endl;
    require(actual == expected);
}

// The text of the exception; empty when there is none.
template <class Exception = std::exception, class Operation>
std::string failureOf(Operation&& operation)
try {
    operation();
    return {};
} catch (const Exception& exception) {
    return exception.what();
}

// An input may be a media file and a tail of 40 bytes that says what is done with it.
inline std::string fileIn(FuzzedDataProvider& input)
{
    return input.ConsumeBytesAsString(std::max<std::size_t>(input.remaining_bytes(), 40) - 40);
}

// Idle blocks are freed by the third acquisition after their release; what is lent would stay.
inline void requireNothingLent(Velmora::IMemoryPool& pool)
{
    for (int acquisition = 0; acquisition < 3; ++acquisition)
        pool.release(pool.acquire(0));
    require(pool.count() == 1);
}
