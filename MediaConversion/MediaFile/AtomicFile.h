#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <sys/types.h>

namespace MediaConversion {

// A file in the making. It takes its name when it is complete: until then, and for ever when it is
// destroyed before, what stands under the name stays as it was. What fails throws a
// std::runtime_error whose text is the reason alone: "No space left on device". It is a
// std::system_error where the system gave the reason.
class IAtomicFile
{
public:
    virtual ~IAtomicFile() = default;

    virtual void write(std::span<const std::byte> bytes) = 0;

    // Brings what was written to the disk and under the name. The last call, also when it fails.
    virtual void commit() = 0;
};

// Grows in the folder of its name, under a hidden, random one (".zeq.*.tmp*"). A file that is
// replaced passes on its permissions, but neither its owner nor its other hard links; one that must
// not be written is not replaced. Of a symbolic link the file behind it is replaced. A link to
// nothing is refused, and so is all else that is no regular file.
//
// When commit() returns, file and name outlast a power cut. When it fails because the folder cannot
// be synchronised, the file stands under its name all the same.
//
// Only a process that is killed, or that crashes, leaves a hidden file behind. The first AtomicFile
// that another process creates in the folder removes those of its user that nobody is writing. That
// is told by a lock, which each AtomicFile holds. On a file system that other machines may write
// to, whose locks may not be seen here, a file must not have been written to for a day as well; on
// one without locks nothing is removed.
class AtomicFile final : public IAtomicFile
{
public:
    // A new, empty file that is to stand under this name. The temporary one ends in `extension`.
    explicit AtomicFile(const std::wstring& fileName, const std::string& extension = "");
    ~AtomicFile() override;

    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void write(std::span<const std::byte> bytes) override;
    void commit() override;

    // For libraries that write files by name. What they write there counts as written.
    const std::string& temporaryName() const { return m_temporaryName; }

    // Takes away the files of all threads that have not got their names. For a program that is
    // about to be ended by a signal: no file can be opened any more, and a thread that would
    // create, finish or destroy an AtomicFile waits for ever.
    static void removeUnfinished();

private:
    explicit AtomicFile(std::string name) : m_name(std::move(name)) {}

    void findTarget();
    void createTemporary(const std::string& folder, const std::string& extension);
    void removeTemporary();
    void takeName();

    std::string m_name;
    std::optional<mode_t> m_permissions;  // of the file that is replaced
    std::string m_temporaryName;          // empty when the file stands under its own
    int m_descriptor = -1;
};

}
