#pragma once

#include <exception>
#include <string>
#include <utility>

namespace MediaConversion {

// The one exception of media file access.
class MediaFileAccessException final : public std::exception
{
public:
    MediaFileAccessException(std::string fileName, std::string message)
        : m_fileName(std::move(fileName)), m_message(std::move(message))
    {
    }

    // '?' stands for what cannot be part of a file's name.
    const std::string& fileName() const { return m_fileName; }
    const std::string& message() const { return m_message; }

    // The message alone.
    const char* what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_fileName;
    std::string m_message;
};

}
