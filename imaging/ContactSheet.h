#pragma once

#include "imaging/View.h"

#include <string>
#include <vector>

namespace Imaging {

// Writes all views, of which there is one at least, on one page of so many columns; 0 gives it the
// shape of a screen. Throws a std::runtime_error.
void writeContactSheet(const std::string& fileName, const std::vector<View>& views, int columns);

}
