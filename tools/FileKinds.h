#pragma once

#include <string>

// What files are, whatever their names say.
namespace Zeq {

// What a file is by how it begins: "it is a PNG file", "it is empty". Empty where that is not
// known, and of a media file.
std::string kindText(const std::string& fileName);

// Why the file cannot be opened: "No such file or directory", "it is a folder". Empty where it can.
std::string whyNotOpened(const std::string& fileName);

// Throws a std::runtime_error for what no picture can be read from, and for files that OpenImageIO
// would take for whole though their end is missing, or for which it would end the program.
void checkPictureFile(const std::string& fileName);

// OpenImageIO's words without the file's name, which stands before them already, and without those
// for developers.
std::string plainText(std::string text, const std::string& fileName);

}
