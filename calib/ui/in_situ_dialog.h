#pragma once

#include <QDialog>
#include <QPointer>
#include <string>

#include "calib/in_situ_calibration.h"
#include "core/ui/setting_form.h"
#include "core/worker.h"
#include "view/ui/port_overlay.h"

class QComboBox;
class QLineEdit;
class QSpinBox;

namespace vyn {

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

  private:
    QLayout* buttons();
    InSituOptions options() const;
    /// The port file: a relative name belongs to the project's folder.
    std::string port_file() const;
    void select_markers();
    void select_calibration();
    void show_ports();
    void refresh_ports();
    /// Whether the calibration file may be written.
    bool may_replace(const std::string& file);
    /// False when something could not be written: then nothing was stored.
    bool store(const paintFeatures& paint, const std::string& wind_off_ratio);

    Worker& worker_;
    /// Settings of the project, stored with the law.
    SettingForm form_;
    QLineEdit* edt_mrk_file;
    QLineEdit* edt_cal_file;
    QComboBox* cmb_order;
    QLineEdit* edt_p_units;
    QSpinBox* spn_approx;
    QBusyBox* busy_box_ = nullptr;

    std::string agreed_file_;  ///< chosen in a file dialog, which asked before replacing
    PortOverlay ports_;
    QPointer<VynFieldViewer> viewer_;
};

}  // namespace vyn
