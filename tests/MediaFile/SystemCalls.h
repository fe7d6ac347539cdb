#pragma once

#include <functional>
#include <string>

// The library's system calls, and what is to become of them.
struct SystemCalls
{
    std::string failing = {};  // this one fails once, after it has been made so often
    int before = 0;
    int error = 0;
    bool isLeased = false;  // every file, so that opening it has to wait for the lease's holder
    std::function<void()> beforeOpening = {};
    bool areRecorded = false;  // only then does any of them fail
    std::string names = {};    // in their order
};

inline SystemCalls systemCalls;
