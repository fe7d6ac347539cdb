#include "tools/TerminationSignals.h"

#include "MediaConversion/MediaFile/AtomicFile.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace Zeq {

namespace {

// What terminals, shells and schedulers end a program by, the latter also as a warning before they
// kill it. Not those of a crash, after which nothing can be relied upon. Left out are also those
// that the program was told to ignore, as nohup tells it.
sigset_t terminationSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal :
         {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGTERM, SIGXCPU}) {
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
    // As if it had not been caught: who waits for the program sees the signal, and some dump a
    // core.
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
    const auto signals = terminationSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        std::thread([signals] {
            int signal = 0;
            if (::sigwait(&signals, &signal) == 0)
                endBy(signal);
        }).detach();
    } catch (const std::system_error&) {
        // Without threads, a signal ends the program as it always does.
        ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
}

}
