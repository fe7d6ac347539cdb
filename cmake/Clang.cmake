# Builds with the clang of this Debian: 14 is that of Debian 12, 19 that of Debian 13.
find_program(CMAKE_CXX_COMPILER NAMES clang++-14 clang++-19 clang++ REQUIRED)
