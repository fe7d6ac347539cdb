#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "imaging/Picture.h"
#include "tools/InputFiles.h"
#include "tools/Jobs.h"
#include "tools/OpenFile.h"

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zeq {

// One file to be made of another.
struct Conversion
{
    InputFile input;
    std::string output = {};  // none of an input with a problem
};

// Tells which names are those of one file, by its path without links. Folders are looked at once:
// lists are long, and file servers far.
class FileIdentities
{
public:
    std::filesystem::path of(const std::string& name);

private:
    std::map<std::string, std::filesystem::path> m_folders;
};

// What is read, to be told from what is written: a file has many names, by links and by folders.
class InputNames
{
public:
    explicit InputNames(const std::vector<InputFile>& inputs);

    // The input that this output would take the place of, if any.
    std::optional<std::string> sameAs(const std::string& output);

private:
    FileIdentities m_identities;
    std::map<std::filesystem::path, std::string> m_byPath;
    std::map<std::pair<dev_t, ino_t>, std::string> m_byNumber;
};

// Finds each input's output: a file's name, the name of a sequence, which takes the input's number,
// or a folder, in which a file takes the input's name with another extension and, where that was
// found in a folder that was named, its place in it. What was made before in a folder inside that
// one is no input. Throws a UsageError when an output would be written twice or is an input.
std::vector<Conversion> planConversions(const std::vector<InputFile>& inputs,
                                        const std::string& output, const std::string& extension);

// What the user asks for. The rest follows from the file that is converted.
struct WantedResult
{
    std::optional<Velmora::FrameFormat> format;  // of a media file
    std::optional<Imaging::SampleDepth> depth;   // of any other picture
    std::string extension = {};                  // of what is written to standard output
    ReadingOptions reading = {};
    bool isPremultiplied = false;  // colours in EXR files are multiplied by alpha
    bool hasTimestamp = false;     // a picture's file says when it was made
    bool isLossAccepted = false;   // nothing is to be said of what the output cannot hold
};

// The extension that says what kind of file the output is, in lower case.
std::string outputKind(const Conversion& conversion, const WantedResult& wanted);

// Throws a std::runtime_error when a media file of this format cannot hold the picture, of which it
// has to hold whole groups of pixels.
void checkCanBeHeld(const IOpenFile& file, const Velmora::FrameFormat& format);

// Makes one file of another: a media file where the output's extension is zeq, else a picture of
// that kind. The output is written whole or not at all. Gives what the output cannot hold of the
// picture, in words, unless that is accepted. Throws a std::exception.
std::string convertFile(const Conversion& conversion, const WantedResult& wanted,
                        MemoryBudget& budget);

// Makes the outputs by this function, several at once, and names the inputs that fail and those of
// which the function says something. Makes the folders of outputs whose inputs were found in a
// folder. Unfinished outputs are removed when a signal ends the program.
std::vector<JobOutcome> runConversions(
    const std::vector<Conversion>& conversions, const JobSettings& settings,
    const std::function<std::string(const Conversion&, MemoryBudget&)>& make);

// Throws a UsageError when no file of this name can be written.
void checkOutputName(const std::string& fileName, const WantedResult& wanted);

}
