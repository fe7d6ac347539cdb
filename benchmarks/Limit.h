#pragma once

#include <opencv2/core/mat.hpp>

// What memory allows: reads every byte of the input and writes every byte of the output in plain
// 16-byte steps, on as many threads as the conversion. Both are continuous.
void readAndWrite(const cv::Mat& input, cv::Mat& output);
