#pragma once

#include "tools/InputFiles.h"
#include "tools/Jobs.h"

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// What scripts are told of a run, in JSON.
namespace Zeq {

// What became of all files of a run, for scripts.
struct RunReport
{
    struct Entry
    {
        std::string file;
        std::optional<std::string> output;  // nothing where a command has none; may be empty
        JobOutcome outcome;
        bool isSkipped = false;
    };

    std::vector<Entry> entries;
    std::size_t missing = 0;  // frames of sequences

    // Prints it as JSON: the numbers, and an object for each file.
    void print() const;
};

// A file that gets a line of JSON for each file of a run, as soon as that is done. Processes on all
// machines may append to it at once, and none of them is stopped when it cannot be written.
class ReportFile
{
public:
    // No file where the name is empty. Throws a UsageError for a name of a picture, which may be a
    // mistake, and a FileError where the file cannot be opened.
    explicit ReportFile(std::string name);
    ~ReportFile();

    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    // What became of an input. The output is empty where there is none; the bytes are then those of
    // the input. May be called by several threads.
    void add(const InputFile& input, const std::string& output, const JobOutcome& outcome,
             bool isSkipped = false);

    // Gives false, and reports it, when lines could not be written.
    bool finish() const;

private:
    void append(std::string line);

    const std::string m_name;
    int m_descriptor = -1;
    std::mutex m_mutex;
    int m_error = 0;  // the first one
};

}
