#pragma once

#include <array>
#include <cstdint>
#include <string>

// A file's first bytes and a descriptor of it, as the host hands them to the readers. A file that
// cannot be opened or read begins with zeros.
class FileBeginning
{
public:
    explicit FileBeginning(const std::string& fileName);
    ~FileBeginning();

    FileBeginning(const FileBeginning&) = delete;
    FileBeginning& operator=(const FileBeginning&) = delete;

    const unsigned char* block() const { return m_block.data(); }
    int length() const { return m_length; }  // of the bytes that the file really has
    std::uint64_t fileSize() const { return m_fileSize; }
    int descriptor() const { return m_descriptor; }

    // Gives the descriptor away. It is -1 when the file could not be opened.
    int releaseDescriptor();

    // Why the file could not be opened or read; empty when it could.
    const std::string& error() const { return m_error; }

private:
    std::array<unsigned char, 1024> m_block{};
    int m_length = 0;
    std::uint64_t m_fileSize = 0;
    int m_descriptor;
    std::string m_error;
};
