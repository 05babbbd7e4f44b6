#pragma once

#include <string>
#include <vector>

#include "api/image_list.h"
#include "calib/paint_law.h"
#include "core/data_set.h"
#include "process/report/warning.h"

namespace vyn {

/// How the point finds fa: as the project says, but 1 where there are no wind-off pictures.
WindOffRule wind_off_rule(const dataSetInterface& data, const imagesList& images);

/// Conditions under which the law's answer cannot be trusted: no wind-off pressure, temperatures
/// outside the paint's range.
std::vector<Warning> condition_warnings(const PreparedConversion& prepared, WindOffRule rule);

/// What is wrong with the unit names of a project's paint and test conditions, each with what to
/// type instead; `law_unit` and `law_temperature_unit` are those of the prepared conversion. Empty
/// when every number enters the law as it should.
std::vector<std::string> unit_warnings(const paintFeatures& paint, const flowFeatures& flow,
                                       const std::string& law_unit,
                                       const std::string& law_temperature_unit);

/// The test conditions of a project as they will enter the paint's law. Unit names are compared
/// exactly, and a wrong one is no error to the computation: only the numbers show it.
struct LawConditions {
    struct Line {
        std::string name;
        std::string entered;  ///< number and unit as the user gave them
        std::string in_law;   ///< the number in the law; empty where nothing is converted
    };
    std::vector<Line> lines;           ///< empty when the quantity asked for is the ratio itself
    std::vector<std::string> remarks;  ///< for the user: what the field will suffer from
};

/// Of the settings as they are in the data set; reports nothing to the log.
LawConditions law_conditions(const dataSetInterface& data, const imagesList& images);

}  // namespace vyn
