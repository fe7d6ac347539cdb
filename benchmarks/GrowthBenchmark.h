#pragma once

#include "benchmarks/Conversions.h"

#include <vector>

namespace Benchmarks {

// The conversions whose cost is measured from half a megapixel to 33.
const std::vector<Conversion>& growthConversions();

}
