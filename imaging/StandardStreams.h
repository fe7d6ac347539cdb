#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

// For programs that write files.
namespace Programs {

// Opens those of the standard streams that the program was started without. The next file that it
// opens would take their place, and all messages. They are opened the wrong way round, so that
// reading and writing fail as they do on closed streams. To be called before anything is opened.
inline void openStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0 &&
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) != stream)
            std::_Exit(EXIT_FAILURE);
}

}
