#include "tests/support/ParallelBackend.h"

namespace {

[[maybe_unused]] const bool installed = (installParallelBackend(), true);

}
