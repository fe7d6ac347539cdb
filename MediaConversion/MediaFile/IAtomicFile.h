#pragma once

#include <cstddef>
#include <span>

namespace MediaConversion {

// A file in the making. It takes its name when it is complete: until then, and for ever when it is
// destroyed before, what stands under the name stays as it was. What fails throws a
// std::runtime_error whose text is the reason alone: "No space left on device".
class IAtomicFile
{
public:
    virtual ~IAtomicFile() = default;

    virtual void write(std::span<const std::byte> bytes) = 0;

    // Brings what was written to the disk and under the name. The last call, also when it fails.
    virtual void commit() = 0;
};

}
