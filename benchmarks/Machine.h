#pragma once

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <vector>

namespace Benchmarks {

// One way to read all of an input and to write all of an output. The fastest of a machine's is what
// its memory allows: the limit. Reference stores read a line before they overwrite it, non-temporal
// ones go past the caches, and which is better depends on the size of the frame.
struct Stores
{
    const char* name;
    bool isSupported;
    void (*readAndWrite)(const std::byte* input, std::size_t inputSize, std::byte* output,
                         std::size_t outputSize);
};

// Those of this machine: plain and non-temporal, of 16, 32 and 64 bytes.
std::vector<Stores> storesOfThisMachine();

// Reads every byte of the input and writes every byte of the output but for fewer than 128 at its
// ends, on OpenCV's threads. Both are continuous.
void readAndWrite(const Stores& stores, const cv::Mat& input, cv::Mat& output);

// The same traffic by the C library: copies the rows of one matrix to the other, one on each
// thread.
void copyRows(const cv::Mat& from, cv::Mat& to);

// Takes the kernel level that KERNEL_LEVEL names, and runs what is registered with Google Benchmark
// and asked for. Its report names the level, the compiler and OpenCV. The exit status.
int runBenchmarks(int argc, char** argv);

}
