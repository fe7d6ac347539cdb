#include "tools/EndingSignals.h"

#include "MediaConversion/MediaFile/AtomicFile.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace Zeq {

namespace {

// Those that the program was not told to ignore, as nohup tells it.
sigset_t endingSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action;
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

[[noreturn]] void endBy(int signal)
{
    // What fails from here on fails because of the signal: the other threads are not to report it.
    [[maybe_unused]] const int isLocked = ::ftrylockfile(stderr);
    MediaConversion::AtomicFile::removeUnfinished();
    ::signal(signal, SIG_DFL);
    ::kill(::getpid(), signal);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::abort();
}

}

void removeUnfinishedFilesOnSignals()
{
    // Writing beyond a limit or to a reader that has gone is to be an error like any other.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        if (::sigwait(&signals, &signal) == 0)
            endBy(signal);
    }).detach();
}

}
