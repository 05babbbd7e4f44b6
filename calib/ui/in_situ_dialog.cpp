#include "calib/ui/in_situ_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>
#include <filesystem>

#include "api/image_list.h"
#include "calib/ui/calibration_results.h"
#include "calib/ui/port_editor.h"
#include "calib/ui/unit_lists.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/ui/busy_box.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/form_grid.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "core/ui/wording.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "process/steps/calibrate_task.h"
#include "process/steps/port_point.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/window/field_viewer.h"

namespace vyn {

namespace {

constexpr int file_chars = 40;

QString caption() {
    return QObject::tr("Calibration");
}

QToolButton* choose_button(const char* name, const QString& tip) {
    auto* button = new QToolButton;
    button->setObjectName(QLatin1String(name));
    button->setIcon(vyn_icon(QStringLiteral("fileopen.png")));
    button->setToolTip(tip);
    return button;
}

/// What the user had entered when he left the dialog without a result: nothing goes to the project,
/// but opened again for the same project the dialog has it all.
struct RejectedInputs {
    std::string project;
    simpleNamedDataSet inputs;
};
RejectedInputs& rejected_inputs() {
    static RejectedInputs kept;
    return kept;
}

template <class Edit>
Edit* named(Edit* edit, const char* name) {
    edit->setObjectName(QLatin1String(name));
    return edit;
}

}  // namespace

form_calibr_single::form_calibr_single(Worker& worker, QWidget* parent)
    : QDialog(parent),
      worker_(worker),
      edt_mrk_file(form_.text(keys::port_file.path, "edt_mrk_file")),
      edt_cal_file(form_.text(keys::in_situ_calibration_file.path, "edt_cal_file")),
      cmb_order(form_.choice(keys::in_situ_terms.path,
                             {{tr("1 term: constant"), "1"},
                              {tr("2 terms: linear"), "2"},
                              {tr("3 terms: quadratic"), "3"}},
                             {}, "cmb_order")),
      cmb_model(form_.choice(keys::in_situ_model.path,
                             {{tr("A law of its own"), "polynomial"},
                              {tr("The project's law: gain k of the ratio"), "k"},
                              {tr("The project's law: offset and gain of P"), "offset-gain"},
                              {tr("The project's law: temperature"), "temperature"}},
                             {}, "cmb_model")),
      edt_port_sigma(form_.number(keys::in_situ_port_sigma.path, "edt_port_sigma")),
      edt_p_units(form_.text(keys::in_situ_pressure_unit.path, "edt_p_units")),
      spn_approx(form_.spin(keys::in_situ_area.path, "spn_approx")) {
    setWindowTitle(tr("In-situ calibration"));
    offer_names(*edt_p_units, pressure_units_to_type());
    edt_mrk_file->setMinimumWidth(file_chars * fontMetrics().averageCharWidth());
    edt_cal_file->setPlaceholderText(tr("none: stored in the project only"));

    QToolButton* markers =
        choose_button("btn_select_markers", tr("Choose the marker file with the ports"));
    QToolButton* calibration =
        choose_button("btn_select_cal", tr("Choose the file to save the law to"));
    auto* rows = new FormGrid;
    rows->add_row(tr("Pressure Ports:"), edt_mrk_file, markers);
    rows->add_row(tr("Calibration file:"), edt_cal_file, calibration);
    rows->add_row(tr("Fitted:"), cmb_model);
    rows->add_row(tr("Approximation order:"), cmb_order);
    rows->add_row(tr("Pressure Unit:"), edt_p_units);
    rows->add_row(tr("Approximation area:"), spn_approx, tr("px"));
    rows->add_row(tr("Deviation of a port:"), edt_port_sigma);
    edt_port_sigma->setToolTip(
        tr("Standard deviation of a port's pressure, in the unit of the "
           "ports; 0 when it is not known: all ports weigh alike then"));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(rows);
    layout->addStretch();
    layout->addLayout(buttons());
    form_.show(vyn_db());
    RejectedInputs& before = rejected_inputs();
    if (!before.project.empty() && before.project == read(vyn_db(), keys::head_file))
        form_.show(before.inputs);

    show_model();
    connect(cmb_model, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &form_calibr_single::show_model);
    connect(markers, &QToolButton::clicked, this, &form_calibr_single::select_markers);
    connect(calibration, &QToolButton::clicked, this, &form_calibr_single::select_calibration);
    connect(edt_mrk_file, &QLineEdit::editingFinished, this, [this] {
        // A warning takes the keyboard from the line, which ends its editing once more.
        if (!edt_mrk_file->isModified()) return;
        edt_mrk_file->setModified(false);
        refresh_ports();
    });
    connect(spn_approx, qOverload<int>(&QSpinBox::valueChanged), this,
            &form_calibr_single::refresh_ports);
}

QLayout* form_calibr_single::buttons() {
    auto* show = named(new QPushButton(tr("&Show ports")), "btn_show_ports");
    show->setToolTip(tr("Shows the ports on the ratio image with the squares that are averaged"));
    show->setAutoDefault(false);
    auto* edit = named(new QPushButton(tr("&Edit ports...")), "btn_edit_ports");
    edit->setToolTip(tr("The ports as a table: type their pressures or paste them in one go"));
    edit->setAutoDefault(false);
    connect(edit, &QPushButton::clicked, this, &form_calibr_single::edit_ports);
    auto* calculate = named(new QPushButton(tr("Calculate")), "btn_calculate");
    calculate->setDefault(true);
    auto* cancel = named(new QPushButton(tr("Cancel")), "btn_cancel");
    cancel->setAutoDefault(false);
    connect(show, &QPushButton::clicked, this, &form_calibr_single::show_ports);
    connect(calculate, &QPushButton::clicked, this, &form_calibr_single::btn_calculate_clicked);
    connect(cancel, &QPushButton::clicked, this, &form_calibr_single::reject);
    auto* row = new QHBoxLayout;
    row->addWidget(show);
    row->addWidget(edit);
    row->addStretch();
    row->addWidget(calculate);
    row->addWidget(cancel);
    return row;
}

form_calibr_single::~form_calibr_single() {
    edt_mrk_file->disconnect(this);  // it loses the focus when the window goes
    delete viewer_;                  // before the ports that it draws
}

InSituOptions form_calibr_single::options() const {
    return {.terms = std::min(cmb_order->currentIndex() + 1, gauss_approximation::most_terms),
            .side = spn_approx->value(),
            .pressure_unit = edt_p_units->text().toStdString(),
            .model = calibration_model(calibration_model_names()[static_cast<std::size_t>(
                std::max(cmb_model->currentIndex(), 0))]),
            .port_sigma = edt_port_sigma->number().value_or(0)};
}

void form_calibr_single::show_model() {
    const bool polynomial = options().model == CalibrationModel::polynomial;
    cmb_order->setEnabled(polynomial);
    edt_port_sigma->setEnabled(!polynomial);
}

std::string form_calibr_single::port_file() const {
    const std::string name = edt_mrk_file->text().toStdString();
    const std::filesystem::path found = locate(name, project_folder(vyn_db()));
    return found.empty() ? name : found.string();
}

void form_calibr_single::select_markers() {
    const std::string file =
        ask_open_file(this, {tr("Pressure Ports"),
                             tr("Markers (*.mrk *.xml *.txt *.dat);;All files (*)"),
                             {},
                             output_folder(vyn_db()).string()});
    if (file.empty()) return;
    edt_mrk_file->setText(QString::fromStdString(file));
    refresh_ports();
}

bool form_calibr_single::select_calibration() {
    const std::string file =
        ask_save_file(this, {tr("Vyn Paint Calibration"), tr("Paint calibration (*.clb)"),
                             QStringLiteral("clb"), output_folder(vyn_db()).string()});
    if (file.empty()) return false;
    agreed_file_ = file;
    edt_cal_file->setText(QString::fromStdString(file));
    return true;
}

void form_calibr_single::show_ports() {
    if (!get_images().find(image_names::ratio)) {
        report_failure(this, caption(), tr("I/Iref image doesn't exists"));
        return;
    }
    if (!viewer_) {
        viewer_ =
            new VynFieldViewer(worker_, image_names::ratio, /*flag=*/false, tr("I/Iref"), this);
        viewer_->view().add_overlay(&ports_);
    }
    refresh_ports();
    viewer_->show();
    viewer_->raise();
}

/// Those of the port file; none, and false, when it cannot be read, which the user is told.
bool form_calibr_single::read_ports_of_file(MarkerSet& ports) {
    if (edt_mrk_file->text().isEmpty()) return true;
    const auto ratio = get_images().find(image_names::ratio);
    return attempt(this, caption(),
                   [&] { ports = read_marker_file(port_file(), ratio ? ratio->height() : 0); });
}

void form_calibr_single::refresh_ports() {
    if (!viewer_) return;
    MarkerSet ports;
    read_ports_of_file(ports);
    ports_.set_ports(std::move(ports), spn_approx->value());
    viewer_->view().update();
}

/// A file that is not there yet begins empty.
void form_calibr_single::edit_ports() {
    MarkerSet ports;
    std::error_code ignored;
    const std::string file = edt_mrk_file->text().isEmpty() ? std::string() : port_file();
    if (std::filesystem::exists(file, ignored) && !read_ports_of_file(ports)) return;
    PortEditor editor(std::move(ports), file, this);
    if (editor.exec() != QDialog::Accepted) return;
    if (editor.file() != file)
        edt_mrk_file->setText(QString::fromStdString(editor.file().string()));
    refresh_ports();
}

void form_calibr_single::btn_calculate_clicked() {
    const std::string ports = port_file();
    const auto outcome = std::make_shared<InSituOutcome>();
    const auto job = std::make_shared<Job>();
    job->append(std::make_unique<CalibrateTask>(program_session(), ports, options(), outcome));
    if (!busy_box_) busy_box_ = new QBusyBox(worker_, this);
    if (busy_box_->run(job) != TaskOutcome::done) return;
    if (!outcome->calibration) {
        QMessageBox box(QMessageBox::Warning, caption(), worded(outcome->warning), QMessageBox::Ok,
                        this);
        box.setInformativeText(QString::fromStdString(outcome->reason));
        box.exec();
        return;
    }
    if (!can_write_calibration()) return;
    VynCalResults results(vyn_db(), this);
    results.show_calibration(ports, PortSelection(std::move(*outcome->calibration),
                                                  for_point(options(), program_session())));
    // What was taken out of the fit outlives a file that cannot be written.
    while (results.exec() == QDialog::Accepted)
        if (store(results.calibration(), results.wind_off_ratio())) return accept();
    reject();
}

void form_calibr_single::done(int result) {
    RejectedInputs& kept = rejected_inputs();
    kept.project.clear();
    if (result == QDialog::Rejected) {
        form_.write(kept.inputs);
        kept.project = read(vyn_db(), keys::head_file);
    }
    QDialog::done(result);
}

std::string form_calibr_single::calibration_file() const {
    const std::filesystem::path file = edt_cal_file->text().toStdString();
    return file.empty() || file.is_absolute() ? file.string()
                                              : (project_folder(vyn_db()) / file).string();
}

bool form_calibr_single::can_write_calibration() {
    if (edt_cal_file->text().isEmpty()) return true;
    const QFileInfo file(QString::fromStdString(calibration_file()));
    const QFileInfo folder(file.path());
    QString problem;
    if (file.isDir())
        problem = tr("%1 is a folder. Name a calibration file in it.").arg(file.filePath());
    else if (!folder.isDir())
        problem = tr("There is no folder %1. Make it, or choose another calibration file.")
                      .arg(folder.filePath());
    else if (!folder.isWritable() || (file.exists() && !file.isWritable()))
        problem = tr("%1 cannot be written. Choose another calibration file.").arg(file.filePath());
    if (!problem.isEmpty()) report_failure(this, caption(), problem);
    return problem.isEmpty();
}

bool form_calibr_single::settle_calibration_file() {
    const std::string file = calibration_file();
    std::error_code ignored;
    if (file.empty() || file == agreed_file_ || !std::filesystem::exists(file, ignored))
        return true;
    QMessageBox box(QMessageBox::Question, caption(),
                    tr("%1 exists. Replace it?").arg(QString::fromStdString(file)),
                    QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, this);
    box.button(QMessageBox::Yes)->setText(tr("&Replace"));
    box.button(QMessageBox::No)->setText(tr("&Other file..."));
    switch (box.exec()) {
        case QMessageBox::Yes:
            return true;
        case QMessageBox::No:
            return select_calibration();
        default:
            return false;
    }
}

bool form_calibr_single::store(const InSituCalibration& calibration,
                               const std::string& wind_off_ratio) {
    if (!settle_calibration_file()) return false;
    const std::string file = calibration_file();
    if (!attempt(this, caption(), [&] { write_paint_calibration(file, calibration.paint); }))
        return false;
    form_.write(vyn_db());
    store_calibration(vyn_db(), calibration, wind_off_ratio);
    get_log().write(LogLevel::progress, "Calibration stored in the project" +
                                            (file.empty() ? std::string() : " and in " + file));
    return true;
}

}  // namespace vyn
