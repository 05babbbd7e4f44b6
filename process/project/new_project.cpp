#include "process/project/new_project.h"

#include <utility>

#include "calib/flow.h"
#include "calib/units.h"
#include "core/keys.h"

namespace vyn {

void start_project(dataSetInterface& data) {
    write(data, keys::qped_iter, 3);
    write(data, keys::resample_once, 1);
    write(data, keys::files_fits_first_row, std::string("bottom"));
    write(data, keys::spline_edges, std::string("extended"));
    write(data, keys::uncertainty_enable, 1);
    write(data, keys::lamp_exposure, 1);
}

void take_units_of_paint(dataSetInterface& data, const paintFeatures& paint) {
    flowFeatures flow;
    read(std::as_const(data), std::string(keys::flow), flow);
    if (flow.wind_off_p != 0 || flow.static_p != 0 || flow.wind_off_t != 0 || flow.wind_on_t != 0)
        return;
    // Names of the tables are converted; capitals are not, and so give the law its numbers.
    if (!is_pressure_unit(paint.pressure_unit)) flow.p_unit = paint.pressure_unit;
    flow.t_unit = paint.temperature_unit;
    if (is_temperature_unit(flow.t_unit))
        flow.t_unit[0] = static_cast<char>(flow.t_unit[0] - 'a' + 'A');
    write(data, std::string(keys::flow), flow);
    const std::string of_ports = read(std::as_const(data), keys::in_situ_pressure_unit);
    if (of_ports == find_key(keys::in_situ_pressure_unit.path)->fallback.get<std::string>())
        write(data, keys::in_situ_pressure_unit, paint.pressure_unit);
}

}  // namespace vyn
