#pragma once

#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace MediaConversion {

// Collects the fields of a file one after the other.
class LittleEndianWriter
{
public:
    template <std::unsigned_integral Field>
    void write(Field field)
    {
        for (std::size_t byte = 0; byte < sizeof field; ++byte)
            m_bytes.push_back(static_cast<std::byte>(field >> 8 * byte));
    }

    void write(std::string_view text)
    {
        for (const char character : text)
            m_bytes.push_back(static_cast<std::byte>(character));
    }

    template <std::size_t count>
    void writeZeros()
    {
        m_bytes.resize(m_bytes.size() + count);
    }

    std::span<const std::byte> bytes() const { return m_bytes; }

private:
    std::vector<std::byte> m_bytes;
};

}
