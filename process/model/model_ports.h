#pragma once

#include <vector>

#include "mesh/sections.h"
#include "process/point/session.h"

namespace vyn {

/// A pressure port on the model.
struct ModelPort {
    int number = 0;
    Vec3 place{};      ///< in the mesh's unit
    double value = 0;  ///< measured, as the field has it (pressure, Cp, ...)
};

/// The point's ports on its mesh: at their own coordinates where they have three, else where the
/// first camera sees the surface at their pixel of the field. Empty without a field of pressures.
std::vector<ModelPort> ports_on_model(const Session& session, const field_data<double>& mesh,
                                      const Surface& surface, double mm_per_unit,
                                      Progress& progress);

/// Ports of a section, as points over its chord.
struct SectionPort {
    int number = 0;
    double x_c = 0;
    double value = 0;
};
/// Those within `reach` (in the mesh's unit) of the plane that the section was cut by.
std::vector<SectionPort> ports_of_section(const std::vector<ModelPort>& ports,
                                          const Section& section, const SectionPlane& plane,
                                          double reach);

}  // namespace vyn
