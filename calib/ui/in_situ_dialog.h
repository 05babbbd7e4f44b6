#pragma once

#include <QDialog>
#include <QPointer>
#include <string>

#include "calib/in_situ_calibration.h"
#include "core/ui/setting_form.h"
#include "core/worker.h"
#include "view/ui/markers/port_overlay.h"

class QComboBox;
class QLineEdit;
class QSpinBox;

namespace vyn {

class NumberEdit;
class QBusyBox;
class VynFieldViewer;

/// Calibrates the paint of the open project at pressure ports, on the ratio image "Iref".
class form_calibr_single : public QDialog {
    Q_OBJECT
  public:
    explicit form_calibr_single(Worker& worker, QWidget* parent = nullptr);
    ~form_calibr_single() override;

  public Q_SLOTS:
    void btn_calculate_clicked();
    void done(int result) override;

  private:
    QLayout* buttons();
    InSituOptions options() const;
    /// The port file: a relative name belongs to the project's folder.
    std::string port_file() const;
    void select_markers();
    /// False when the user chose none.
    bool select_calibration();
    void show_ports();
    bool read_ports_of_file(MarkerSet& ports);
    void edit_ports();
    void refresh_ports();
    /// The file to save the law to, relative names in the project's folder; empty when none.
    std::string calibration_file() const;
    /// Tells the user when the calibration file cannot be written.
    bool can_write_calibration();
    /// Lets the user decide about an existing file: replace it, or name another.
    bool settle_calibration_file();
    /// False when the user has to decide again: then nothing was stored.
    bool store(const InSituCalibration& calibration, const std::string& wind_off_ratio);
    /// What the chosen model does not take is greyed.
    void show_model();

    Worker& worker_;
    /// Settings of the project, stored with the law.
    SettingForm form_;
    QLineEdit* edt_mrk_file;
    QLineEdit* edt_cal_file;
    QComboBox* cmb_order;
    QComboBox* cmb_model;
    NumberEdit* edt_port_sigma;
    QLineEdit* edt_p_units;
    QSpinBox* spn_approx;
    QBusyBox* busy_box_ = nullptr;

    std::string agreed_file_;  ///< chosen in a file dialog, which asked before replacing
    PortOverlay ports_;
    QPointer<VynFieldViewer> viewer_;
};

}  // namespace vyn
