#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

// What the command line asks for.
struct Options
{
    std::filesystem::path plugIn;
    std::filesystem::path folder = "pictures";
    bool exr = false;
    bool help = false;
    std::vector<std::string> files;
};

class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

extern const char* const usage;

// The arguments without the program's name. Throws a UsageError for what it does not understand.
Options parseOptions(const std::vector<std::string>& arguments);
