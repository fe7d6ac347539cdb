#pragma once

#include <string>

namespace Zeq {

// A file in the making, in a hidden folder beside its target. It comes to stand under its name when
// it is complete: until then, and for ever when it is destroyed before, what was there stays as it
// was.
class StagedFile
{
public:
    // Throws a std::runtime_error when the target may not be written.
    explicit StagedFile(const std::string& target);
    ~StagedFile();

    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    // Where to write; the extension is the target's.
    const std::string& fileName() const { return m_fileName; }

    void commit();

private:
    std::string m_target;
    std::string m_fileName;
};

// While files are written: a signal that ends the program takes the unfinished ones away first, and
// the end of the scope the folders that they were in. Begins before there are other threads.
class StagingScope
{
public:
    StagingScope();
    ~StagingScope();

    StagingScope(const StagingScope&) = delete;
    StagingScope& operator=(const StagingScope&) = delete;
};

}
