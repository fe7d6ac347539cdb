#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Zeq {

// The name of a frame sequence: "shot.####.zeq", "shot.@@@@.zeq", "shot.%04d.zeq" or
// "shot.$F4.zeq". A number takes as many digits as that says, with zeros in front, and more where
// it has more. "%d" and "$F" say 1.
// A sign takes the place of a digit, as with printf: "shot.-005.zeq".
struct FramePattern
{
    std::string before;  // the number, with the folder
    std::size_t digits;
    std::string after;

    // Gives nothing when the file's name has no place for a number; throws a UsageError when it has
    // two.
    static std::optional<FramePattern> parse(const std::string& path);

    std::string fileName(int frame) const;

    // The digits and the sign as they stand in the name.
    std::string number(int frame) const;

    // The numbers of the files that the pattern gives the name of, in ascending order.
    std::vector<int> framesOnDisk() const;

    // Says of a file whose number has another width how it is named; nothing where there is none.
    std::string widthHint() const;
};

// The sequence that a name stands for; a file that bears the very name comes first.
std::optional<FramePattern> sequenceOf(const std::string& name);

// The last number in a file's name, which is 12 for "shot2.0012.zeq" and "shot2-0012.zeq", and -12
// for "shot2.-012.zeq" and "shot2_-012.zeq".
std::optional<int> frameNumberIn(const std::string& path);

}
