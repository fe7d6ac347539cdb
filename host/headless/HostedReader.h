#pragma once

#include "host/headless/FileBeginning.h"
#include "imaging/Picture.h"

#include <DDImage/Reader.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

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
    Picture picture();

private:
    std::unique_ptr<ReadOperator> m_operator;
    std::uint64_t m_fileSize;
    std::unique_ptr<DD::Image::Reader> m_reader;
};
