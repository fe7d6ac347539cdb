#pragma once

#include "tests/support/MediaFileBytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <ostream>
#include <string>

// Thousands of media files that are wrong, or look like it.
namespace BadFiles {

using Visit = std::function<void(const std::string& bytes)>;

struct Packing
{
    std::uint32_t code;
    std::uint64_t bytes, rows, columns;  // of a group
    bool isFull;
    int depth;
};

constexpr Packing packings[] = {
    // clang-format off
    {0x00000008,  4, 1, 2, false,  8},
    {0x00000040,  6, 2, 2, false,  8},
    {0x00000200,  3, 1, 1, true,   8},
    {0x00000202,  3, 1, 1, true,   8},
    {0x00000204,  4, 1, 1, true,   8},
    {0x00000206,  4, 1, 1, true,   8},
    {0x00001108,  5, 1, 2, false, 10},
    {0x00001200,  4, 1, 1, false, 10},
    {0x00001202,  4, 1, 1, false, 10},
    {0x0001100C,  8, 1, 2, false, 12},
    {0x00010200,  9, 1, 2, false, 12},
    {0x00010202,  9, 1, 2, false, 12},
    {0x20000000, 16, 4, 4, false,  8},
    // clang-format on
};

constexpr std::uint64_t wrap = std::uint64_t{1} << 32;

// Whole groups only, and not wrapped yet.
constexpr std::uint64_t byteCount(const Packing& packing, std::uint64_t width, std::uint64_t height)
{
    return height / packing.rows * (width / packing.columns) * packing.bytes;
}

// With the data that it claims unless that is much. No format has transparent pixels of these
// bytes.
inline MediaFileBytes picture(const Packing& packing, std::uint64_t width = 4,
                              std::uint64_t height = 4)
{
    const auto claimed = byteCount(packing, width, height) % wrap;
    return MediaFileBytes::picture(packing.code, static_cast<std::uint16_t>(width),
                                   static_cast<std::uint16_t>(height),
                                   std::string(claimed <= 1 << 18 ? claimed : 0, '\x5A'));
}

inline void visitCuts(const Visit& visit)
{
    for (const auto& packing : packings)
        for (const int revision : {0, 1, 2, 255}) {
            auto file = picture(packing);
            file.headerRevision = static_cast<std::uint8_t>(revision);
            for (std::size_t size = 0; size <= file.bytes().size(); ++size)
                visit(file.bytesCutTo(size));
        }
}

inline void visitSizes(const Visit& visit)
{
    const auto sizes = {0, 1, 2, 3, 4, 5, 7, 8, 255, 256, 32767, 32768, 65534, 65535};
    for (const auto& packing : packings)
        for (const auto width : sizes)
            for (const auto height : sizes) {
                const auto bytes = picture(packing, width, height).bytes();
                for (const auto size : {std::size_t{28}, bytes.size() - 1, bytes.size()})
                    visit(bytes.substr(0, size));
                visit(bytes + "more");
            }
}

// All sizes whose byte count is 2^32 or more and wraps to next to nothing, which the file has.
inline void visitWraps(const Visit& visit)
{
    for (const auto& packing : packings)
        for (auto width = packing.columns; width <= 65535; width += packing.columns)
            for (auto count = wrap; count <= byteCount(packing, width, 65535); count += wrap) {
                const auto groupRow = byteCount(packing, width, packing.rows);
                const auto height = (count + groupRow - 1) / groupRow * packing.rows;
                if (height <= 65535 && byteCount(packing, width, height) < count + 256)
                    visit(picture(packing, width, height).bytes());
            }
}

inline void visitMagics(const Visit& visit)
{
    for (const auto* magic : {"zeqz", "ZEQ ", "ZEQZ", "Zeq ", "zEqZ", "zeQ ", "qez ", " zeq", "zeq",
                              "eq ", "q", "", "zeq  ", "zeqZZ", "zeq zeq "})
        visit(magic + picture(packings[4]).bytes().substr(4));
}

// Each byte of the headers has all its values: all revisions, headers that contradict each other.
inline void visitBytes(const Visit& visit)
{
    for (const auto revision : {'\0', '\2'})
        for (std::size_t byte = 0; byte < (revision ? 48 : 28); ++byte)
            for (int value = 0; value < 256; ++value) {
                auto file = picture(packings[value % std::size(packings)]);
                file.headerRevision = static_cast<std::uint8_t>(revision);
                visit(file.bytes().replace(byte, 1, 1, static_cast<char>(value)));
            }
}

inline void visitCodes(const Visit& visit)
{
    const auto show = [&](std::uint32_t code) { visit(picture({code, 4, 1, 1, true, 0}).bytes()); };
    for (const auto& packing : packings)
        for (int bit = 0; bit < 32; ++bit)
            for (const auto code : {packing.code ^ 1u << bit, packing.code - (1u << bit)})
                show(code);
    for (std::uint32_t code = 0; code <= 0xFFFF; ++code)
        show(code);
}

struct Kind
{
    const char* name;
    void (*visitFiles)(const Visit& visit);
};

inline void PrintTo(const Kind& kind, std::ostream* output)
{
    *output << kind.name;
}

constexpr Kind kinds[] = {
    {"Cuts", visitCuts},     {"Sizes", visitSizes}, {"Wraps", visitWraps},
    {"Magics", visitMagics}, {"Bytes", visitBytes}, {"Codes", visitCodes},
};

}
