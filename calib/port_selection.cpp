#include "calib/port_selection.h"

#include <algorithm>

namespace vyn {

PortSelection::PortSelection(InSituCalibration calibration, InSituOptions options)
    : all_(calibration.samples),
      options_(std::move(options)),
      used_(all_.points.size(), true),
      fitted_(std::move(calibration)) {}

double PortSelection::residual(std::size_t index) const {
    const CalibrationPoint& point = all_.points[index];
    return pressure_at(fitted_.fit.coefficients, point.ratio) - point.pressure;
}

double PortSelection::leave_one_out(std::size_t index) const {
    if (!used_[index]) return residual(index);
    const auto before = std::count(used_.begin(), used_.begin() + static_cast<long>(index), true);
    return fitted_.fit.leave_one_out[static_cast<std::size_t>(before)];
}

std::string PortSelection::toggle(std::size_t index) {
    std::vector<bool> used = used_;
    used[index] = !used[index];
    InSituOutcome outcome = fit(used);
    if (!outcome.calibration) return outcome.warning + "\n" + outcome.reason;
    used_ = std::move(used);
    fitted_ = std::move(*outcome.calibration);
    return {};
}

InSituOutcome PortSelection::fit(const std::vector<bool>& used) const {
    PortSamples samples{{}, all_.left_out};
    for (std::size_t i = 0; i < used.size(); ++i)
        if (used[i])
            samples.points.push_back(all_.points[i]);
        else
            samples.left_out.push_back("port " + std::to_string(all_.points[i].number) +
                                       ": taken out of the fit by hand");
    return calibrate_samples(std::move(samples), options_);
}

}  // namespace vyn
