#include "fuzz/Fuzzing.h"
#include "tools/Commands.h"
#include "tools/InputFiles.h"
#include "tools/Jobs.h"
#include "tools/Report.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using namespace Zeq;

// A command line, and what its last word means to some of the options.

// Nothing but usage errors may come.
static void requireUsage(const std::string& start, const std::function<void()>& operation)
{
    const auto failure = failureOf<UsageError>(operation);
    requireText(failure, failure.empty() || failure.starts_with(start) ? failure : start + "...");
}

void fuzz(FuzzedDataProvider& input)
{
    std::istringstream lines(input.ConsumeRemainingBytesAsString());
    std::vector<std::string> words{"zeq"};
    for (std::string word; std::getline(lines, word, '\0');)
        words.push_back(word);
    const auto last = words.back();
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    const auto count = static_cast<int>(arguments.size());
    if (count > 2)  // a single word is looked at more often, as parsing takes long
        requireUsage("",
                     [&] { require(bool(parseCommandLine(commands(), count, arguments.data()))); });
    requireUsage("--frames: ", [&] {
        const auto frames = parseFrames(last);
        require(std::ranges::adjacent_find(frames, std::greater_equal()) == frames.end());
        std::string list;
        for (const int frame : frames)
            list += (list.empty() ? "" : ",") + std::to_string(frame);
        require(parseFrames(list) == frames);
    });
    requireUsage(last + " has two places", [&] {
        if (const auto pattern = FramePattern::parse(last))
            require(pattern->fileName(1234567890).find("1234567890") != std::string::npos);
    });
}
