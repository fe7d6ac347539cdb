#pragma once

// Makes OpenCV run its parallel loops on threads that are ours, from the next loop on. The thread
// sanitiser cannot see how OpenCV's own workers wait for each other and reports races that are
// none: built with it, whatever links ParallelBackend has this installed at start-up without a
// call.
void installParallelBackend();
