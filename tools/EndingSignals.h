#pragma once

namespace Zeq {

// From now on a signal that ends the program takes the unfinished files away first. To be called
// before there are other threads.
void removeUnfinishedFilesOnSignals();

}
