#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"

#include <array>
#include <concepts>
#include <cstddef>

namespace MediaConversion {

// Reads the fields of a file one after the other. Bytes that the stream does not give count as 0:
// the stream's state tells, and its owner looks there when a whole header has been read.
class LittleEndianReader
{
public:
    explicit LittleEndianReader(IIoStream& stream) : m_stream(stream) {}

    template <std::unsigned_integral Field>
    Field read()
    {
        const auto bytes = take<sizeof(Field)>();
        Field field = 0;
        for (std::size_t byte = 0; byte < bytes.size(); ++byte)
            field = static_cast<Field>(field | Field{static_cast<unsigned char>(bytes[byte])}
                                                   << 8 * byte);
        return field;
    }

    template <std::size_t count>
    void skip()
    {
        take<count>();
    }

private:
    template <std::size_t count>
    std::array<char, count> take()
    {
        std::array<char, count> bytes{};
        m_stream.read(bytes.data(), count);
        return bytes;
    }

    IIoStream& m_stream;
};

}
