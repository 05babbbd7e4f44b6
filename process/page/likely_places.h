#pragma once

#include <string>
#include <vector>

#include "process/page/page_rows.h"

namespace vyn {

/// The places of a test point for which a file is meant, going by the words in its name: "off" and
/// "on", "dark", "flat", "mask", "ref"; marker files by their extension. Several where the name
/// leaves it open; every place of a camera picture when it says nothing.
std::vector<PageRow> likely_places(ExperimentType type, const std::string& file);

/// "Wind-On: Background", for choosing among places.
std::string place_label(ExperimentType type, const PageRow& row);

}  // namespace vyn
