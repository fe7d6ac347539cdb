#pragma once

#include "imaging/HostPicture.h"

#include <DDImage/Reader.h>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Headless {

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

// A read operator that collects what is reported to it.
class ReadOperator final : public DD::Image::Read
{
public:
    explicit ReadOperator(std::string fileName) : m_fileName(std::move(fileName)) {}

    const char* filename() const override { return m_fileName.c_str(); }

    // Hands out the messages that have come since the last call, in their order.
    std::vector<std::string> takeMessages();

private:
    void onCritical(const std::string& message) override;

    std::string m_fileName;
    std::mutex m_messagesMutex;
    std::vector<std::string> m_messages;
};

// A file in the host: its read operator and the reader that a plug-in constructed for it. Failures
// arrive as messages.
class HostedReader
{
public:
    HostedReader(const DD::Image::Reader::Description& description, const std::string& fileName);
    HostedReader(const DD::Image::Reader::Description& description, const std::string& fileName,
                 FileBeginning&& beginning);

    DD::Image::Reader& reader() { return *m_reader; }
    void open() { m_reader->open(); }
    std::vector<std::string> takeMessages() { return m_operator->takeMessages(); }

    // Pulls all rows, the lowest first, on several threads at once. Throws for a picture that is
    // too large to be held as a whole, or for the file that claims it.
    Imaging::HostPicture picture();

private:
    std::unique_ptr<ReadOperator> m_operator;
    std::uint64_t m_fileSize;
    std::unique_ptr<DD::Image::Reader> m_reader;
};

}
