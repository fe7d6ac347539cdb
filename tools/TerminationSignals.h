#pragma once

namespace Zeq {

// From now on, unfinished files are removed before a termination signal ends the program. This is
// not so for signals of a crash, for those that cannot be caught, and where no thread can be
// started to wait for them. Has to be called before there are other threads.
void removeUnfinishedFilesOnSignals();

}
