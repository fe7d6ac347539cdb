#pragma once

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <vector>

namespace Benchmarks {

// One way to read all of an input and to write all of an output. The fastest of a machine's is what
// its memory allows: the limit. Plain stores read a line before they overwrite it, non-temporal
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

// The same traffic by the C library: copies half of the bytes of input and output together, a piece
// on each thread.
class Copy
{
public:
    Copy(const cv::Mat& input, const cv::Mat& output, int threads);

    void run();

private:
    cv::Mat m_pieces[2];  // a row for each thread; each copied to the other in turn
    int m_turn = 0;
};

}
