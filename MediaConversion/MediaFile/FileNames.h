#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

// Narrow file names are the bytes that the file system knows, wide ones what the readers are given.
// Going from narrow to wide and back gives every name's own bytes again, also where they are not
// UTF-8, and whatever locale the host has set.
namespace MediaConversion {

// Strict UTF-8; a byte b that is not part of a well-formed character becomes U+DC00 + b. Throws a
// std::invalid_argument for a name of more than 2^31 - 1 bytes.
std::wstring wideFileName(std::string_view narrow);

// The bytes of the name; empty when a character has none or when the name holds a NUL, which no
// file's name can.
std::optional<std::string> narrowFileName(std::wstring_view wide);

// The name for people: as above, with '?' for each character that cannot be part of a file's name.
std::string displayFileName(std::wstring_view wide);

// The one exception of media file access.
class MediaFileAccessException final : public std::exception
{
public:
    MediaFileAccessException(std::string fileName, std::string message, std::error_code reason = {})
        : m_fileName(std::move(fileName)), m_message(std::move(message)), m_reason(reason)
    {
    }

    // '?' stands for what cannot be part of a file's name.
    const std::string& fileName() const { return m_fileName; }
    const std::string& message() const { return m_message; }

    // The system's own reason; none where the system gave no reason or it was not kept.
    std::error_code reason() const { return m_reason; }

    // The message alone.
    const char* what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_fileName;
    std::string m_message;
    std::error_code m_reason;
};

}
