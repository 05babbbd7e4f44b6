#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "core/data_set.h"
#include "mesh/loads.h"

namespace vyn {

/// What loads are divided by to be coefficients; lengths in the mesh's unit.
struct LoadsReference {
    double area = 0;
    double chord = 0;  ///< of pitching and hinge moments
    double span = 0;   ///< of the other moments
    double static_pressure = 0;
    double dynamic_pressure = 1;
    double alpha = 0;  ///< of attack, degrees
    double beta = 0;   ///< of sideslip
    Vec3 about{};      ///< the moments' point

    bool operator==(const LoadsReference&) const = default;
};

/// Takes what a JSON object holds of area, chord, span, about, static_p, dynamic_p, alpha, beta;
/// the rest stays. Raises FileError.
void read_loads_reference(const std::filesystem::path& file, LoadsReference& reference);

/// What is wrong with it, for the user; empty when it can be divided by.
std::string problem_of(const LoadsReference& reference);

/// Area, lengths and point of a test point's settings; the rest, which is the flow's, stands as in
/// a new one.
LoadsReference read_loads_reference(const dataSetInterface& data);
void write_loads_reference(dataSetInterface& data, const LoadsReference& reference);

/// Names and values: CX, CY, CZ, Cl, Cm, Cn in body axes; CD, CY_wind, CL in those of the wind.
std::vector<std::pair<std::string, double>> load_coefficients(const PatchLoads& patch,
                                                              const LoadsReference& reference);
double hinge_coefficient(double moment, const LoadsReference& reference);

/// A table as comma-separated values, one line a patch: patch, its area and covered share, force,
/// moment, coefficients. Numbers read back to the same bits.
std::string loads_csv(const std::vector<PatchLoads>& patches, const LoadsReference& reference);

}  // namespace vyn
