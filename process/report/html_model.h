#pragma once

#include <string>

#include "process/report/model_report.h"

namespace vyn {

/// The part of a page about the field on the model: poses, residuals over the pictures, the model
/// from four sides. Empty where there is no such field.
std::string html_of_model(const ModelReport& report);

/// The residuals of every marker on the model, picture by picture.
std::string html_of_model_markers(const ModelReport& report);

}  // namespace vyn
