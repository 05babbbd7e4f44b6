#pragma once

#include "process/report/point_report.h"
#include "render/document.h"

namespace vyn {

/// What the report of a point says, in its order: what must not be overlooked and what point it is,
/// the field, how it was aligned and held against ports, the law, the stages, and lists to look
/// things up in.
Document report_document(const PointReport& report);

}  // namespace vyn
