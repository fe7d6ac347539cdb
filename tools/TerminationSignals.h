#pragma once

namespace Zeq {

// From now on a signal that ends the program takes the unfinished files away first, unless it comes
// from a crash, cannot be caught, or no thread can be started to wait for it. To be called before
// there are other threads.
void removeUnfinishedFilesOnSignals();

}
