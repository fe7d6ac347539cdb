#pragma once

#include <cstdint>
#include <string>

// The names under which AtomicFiles grow, and what becomes of files that a killed process leaves
// under them.
namespace MediaConversion {

// A random name of fixed length, as the file's own may be as long as a name can be:
// ".zeq.0123456789abcdef.tmp" and the extension.
std::string newTemporaryName(const std::string& extension);

// Locks a new file, so that processes that look for abandoned ones see that it is being written: on
// other machines, too, where the file system passes locks on. The lock holds until the last
// duplicate of the descriptor is closed. False when such a process was faster and has taken the
// file for an abandoned one. A file system without locks has none to lose: true.
bool claimAsWriter(int descriptor);

// For how long nobody may have written to a file of the folder before it counts as abandoned: 0
// where every writer's lock is seen, a day where other machines may write.
std::int64_t secondsUntilAbandoned(const std::string& folder);

// Removes the files of the folder that have temporary names, belong to this user, were last written
// to at `lastWritten` (seconds since 1970) or earlier and are locked by nobody. Those that cannot
// be locked stay. With each process, only the first call for a folder does something.
void removeAbandonedFiles(const std::string& folder, std::int64_t lastWritten);

}
