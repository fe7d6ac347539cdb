#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zeq {

// The name of a frame sequence: "shot.####.zeq" or "shot.%04d.zeq". A number takes as many digits
// as there are signs, with zeros in front, and more where it has more.
class FramePattern
{
public:
    // Empty when there is no pattern in the file's name; throws a UsageError when there are two.
    static std::optional<FramePattern> parse(const std::string& path);

    std::string fileName(int frame) const;

    // Ascending. Only files that the pattern gives the name of.
    std::vector<int> framesOnDisk() const;

private:
    FramePattern(std::string before, std::size_t digits, std::string after)
        : m_before(std::move(before)), m_digits(digits), m_after(std::move(after))
    {
    }

    std::optional<int> frameOf(std::string_view name) const;

    std::string m_before;  // with the folder
    std::size_t m_digits;
    std::string m_after;
};

// The last number in a file's name: 12 for "shot2.0012.zeq".
std::optional<int> frameNumberIn(const std::string& path);

}
