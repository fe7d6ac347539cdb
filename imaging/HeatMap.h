#pragma once

#include "imaging/Difference.h"

#include <opencv2/core/mat.hpp>

#include <string>

namespace Imaging {

// Where two pictures differ, and how much.
struct HeatMap
{
    cv::Mat deviations;  // by `largestDeviations`
    Difference difference;
    std::string name;
    std::string otherName;
};

// Writes the map in false colours, from black for no difference to a light yellow for the largest
// one, and a legend below it. Small pictures are enlarged by a whole number. Throws a
// std::runtime_error.
void writeHeatMap(const std::string& fileName, const HeatMap& map);

}
