#pragma once

#include "imaging/Picture.h"

#include <filesystem>

// Write a picture's samples as they are: alpha is not multiplied into the colours, and no colour
// conversion takes place. Throw std::runtime_errors.

// 8 bits per sample where the file has 8, otherwise 16. Samples outside 0 to 1 are cut off.
void writePng(const Picture& picture, const std::filesystem::path& path);

void writeExr(const Picture& picture, const std::filesystem::path& path);
