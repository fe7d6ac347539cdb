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

// The signals by which terminals, shells and schedulers end a program or warn it before they kill
// it. Those of a crash are left out, as nothing can be relied upon after one, and so are those that
// the program was told to ignore, as nohup tells it.
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

[[noreturn]] void terminateBy(int signal)
{
    // What fails from here on fails because of the signal: the other threads are not to report it.
    [[maybe_unused]] const int isLocked = ::ftrylockfile(stderr);
    MediaConversion::AtomicFile::removeUnfinished();
    // Who waits for the program is to see the signal as if it had not been caught, and some signals
    // dump a core.
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
                terminateBy(signal);
        }).detach();
    } catch (const std::system_error&) {
        // Without threads, a signal ends the program as it always does.
        ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
}

}
