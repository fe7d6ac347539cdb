#pragma once

namespace MediaConversion {

// Opens a file by ::open's flags, for this process alone: a program that it starts does not inherit
// the descriptor. Nothing but a regular file is opened or waited for, whatever takes the name in
// the meantime. -1 when that fails.
int openRegularFile(const char* fileName, int flags);

}
