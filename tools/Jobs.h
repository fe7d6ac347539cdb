#pragma once

#include "tools/MemoryBudget.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Zeq {

// How much is done at once.
struct JobSettings
{
    std::string jobs;  // as given: a number of files, or nothing
    std::string memory = "4G";
    bool isQuiet = false;
};

// One file's work. It reserves the memory that it will take as soon as it knows how much that is,
// and throws a std::exception when it fails.
struct Job
{
    std::string name;    // of the file, for errors
    std::string result;  // what is printed when it is done
    std::function<void(MemoryBudget&)> run;
};

// A job that fails with this problem.
Job failingJob(const std::string& name, const std::string& problem);

// Runs the jobs, several at once where threads can be started, and names those that fail. Progress
// is a bar on a terminal and otherwise a line for each job. Gives the number of jobs that failed;
// throws a UsageError for settings that cannot be understood.
std::size_t runJobs(const std::vector<Job>& jobs, const JobSettings& settings);

}
