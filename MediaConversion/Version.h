#pragma once

#include <string>

// The version of the conversion library. The build reads its numbers from this file.
namespace MediaConversion::Version {

inline constexpr int major = 1;
inline constexpr int minor = 0;
inline constexpr int patch = 0;

// The version as the library reports it to people.
inline std::string text()
{
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch) +
           " Beta";
}

}
