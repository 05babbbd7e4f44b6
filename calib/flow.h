#pragma once

#include <string>

#include "core/data_set.h"

namespace vyn {

/// Flow state of a test point; pressures in `p_unit`, temperatures in `t_unit`, angles in degrees.
struct flowFeatures {
    double alpha = 0;
    double beta = 0;
    double mach = 0;
    double static_p = 0;
    double dynamic_p = 0;
    double wind_off_p = 0;
    double wind_off_t = 0;
    double wind_on_t = 0;
    std::string p_unit = "Pa";
    std::string t_unit = "K";

    bool operator==(const flowFeatures&) const = default;
};

/// The flow state with pressures and temperatures in other units.
flowFeatures in_units(const flowFeatures& flow, const std::string& pressure_unit,
                      const std::string& temperature_unit);

/// The record in a sub-tree ("project/flow/") of the data set. Reading creates what is absent, but
/// not in constant settings.
void read(dataSetInterface& data, const std::string& tree, flowFeatures& record);
void read(const dataSetInterface& data, const std::string& tree, flowFeatures& record);
void write(dataSetInterface& data, const std::string& tree, const flowFeatures& record);

}  // namespace vyn
