#pragma once

#include <string>

#include "process/report/point_report.h"

namespace vyn {

/// A text with the characters that HTML gives a meaning written as entities, and what is no UTF-8
/// replaced.
std::string html_escaped(const std::string& text);

/// The report as one HTML page that needs no other file: pictures are inside. Only tables and
/// pictures, so that simple viewers show it too.
std::string html_report(const PointReport& report);

}  // namespace vyn
