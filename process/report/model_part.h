#pragma once

#include "process/report/model_report.h"
#include "render/document.h"

namespace vyn {

/// The part of a report about the field on the model: poses, residuals over the pictures, the model
/// from four sides. Nothing where there is no such field.
void add_model(const ModelReport& report, Document& document);

/// The residuals of every marker on the model, picture by picture.
void add_model_markers(const ModelReport& report, Document& document);

}  // namespace vyn
