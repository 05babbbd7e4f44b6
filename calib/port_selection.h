#pragma once

#include <string>
#include <vector>

#include "calib/in_situ_calibration.h"

namespace vyn {

/// An in-situ calibration whose ports can be taken out of the fit and put back.
class PortSelection {
  public:
    /// The options are those that the calibration was asked for with.
    PortSelection(InSituCalibration calibration, InSituOptions options);

    /// Of all ports, those taken out included.
    const std::vector<CalibrationPoint>& points() const { return all_.points; }
    bool is_used(std::size_t index) const { return used_[index]; }
    /// The law minus the measured pressure, also for a port that is not in the fit.
    double residual(std::size_t index) const;
    /// With the law of all other used ports; NaN where the law hangs on this port alone.
    double leave_one_out(std::size_t index) const;

    /// The calibration with the used ports.
    const InSituCalibration& calibration() const { return fitted_; }
    const InSituOptions& options() const { return options_; }

    /// Takes the port out of the fit, or puts it back, and fits anew. When the other ports do not
    /// determine a law, nothing changes and the reason is given, for the user; else it is empty.
    std::string toggle(std::size_t index);

  private:
    InSituOutcome fit(const std::vector<bool>& used) const;

    PortSamples all_;
    InSituOptions options_;
    std::vector<bool> used_;
    InSituCalibration fitted_;
};

}  // namespace vyn
