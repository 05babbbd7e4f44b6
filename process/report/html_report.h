#pragma once

#include <string>

#include "process/report/point_report.h"

namespace vyn {

/// The report as one HTML page that needs no other file: pictures are inside. Only tables and
/// pictures, so that simple viewers show it too.
std::string html_report(const PointReport& report);

}  // namespace vyn
