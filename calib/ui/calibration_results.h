#pragma once

#include <QDialog>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "calib/port_selection.h"
#include "core/data_set.h"

namespace vyn {

/// Shows an in-situ calibration before it is accepted: ports, fitted law and what the law means for
/// the field of the project. Ports are taken out of the fit by a click.
class VynCalResults : public QDialog {
    Q_OBJECT
  public:
    explicit VynCalResults(dataSetInterface& settings, QWidget* parent = nullptr);
    ~VynCalResults() override;

    /// Plots points and curve; the vectors hold one entry per port and must have the same length.
    /// What cannot be drawn is reported to the log and below the plot; false in the first case.
    bool set_data(const std::vector<double>& ratios, const std::vector<double>& pressures,
                  const std::vector<int>& numbers, const gauss_approximation::Vector& coefficients);
    /// Shows a calibration with everything that belongs to it.
    void show_calibration(std::string port_file, PortSelection selection);

    /// Of the ports in the fit.
    const InSituCalibration& calibration() const;
    /// "project/processing/convert/wind_off_ratio" as the user wants it with this law.
    std::string wind_off_ratio() const;

  public Q_SLOTS:
    void save();

  private:
    struct Parts;
    QLayout* options();
    QLayout* buttons();
    void toggle(int index);
    void refresh();
    void show_plot();
    void show_meaning();

    std::unique_ptr<Parts> parts_;
};

}  // namespace vyn
