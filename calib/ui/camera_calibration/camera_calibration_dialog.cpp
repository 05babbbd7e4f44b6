#include "calib/ui/camera_calibration/camera_calibration_dialog.h"

#include <QBoxLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QToolButton>

#include "calib/ui/camera_calibration/intrinsics_table.h"
#include "calib/ui/camera_calibration/radius_plot.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "core/ui/window_size.h"
#include "process/model/residual_picture.h"
#include "process/point/project_paths.h"
#include "view/ui/canvas/field_view.h"

namespace vyn {

namespace {

enum Column { name, dots, pairs, rms_before, rms_found, left_out, column_count };

QString number(double value, int digits = 3) {
    return QString::fromStdString(format_general(value, digits));
}

IntrinsicsTable::Free first_choice(const dataSetInterface& data) {
    const bool centre = read(data, keys::resect_free_centre) != 0;
    IntrinsicsTable::Free free{read(data, keys::resect_free_focus) != 0, centre, centre,
                               read(data, keys::resect_free_a2) != 0,
                               read(data, keys::resect_free_a4) != 0};
    // A calibration with everything held would be none.
    if (std::ranges::none_of(free, std::identity()))
        free[static_cast<std::size_t>(Intrinsic::focus)] = true;
    return free;
}

std::shared_ptr<const ImageLevels> blank_picture(const cameraFeatures& record) {
    image blank(std::max(record.nfx, 1), std::max(record.nfy, 1));
    blank.values().fill(1);
    return std::make_shared<const ImageLevels>(std::make_shared<const image>(std::move(blank)));
}

}  // namespace

CameraCalibrationDialog::CameraCalibrationDialog(Worker& worker, QWidget* parent)
    : QDialog(parent),
      busy_box_(worker, this),
      list_(new QTableWidget),
      intrinsics_(new IntrinsicsTable),
      words_(new QLabel),
      file_(new QLineEdit),
      picture_(new VynFieldView),
      factor_(new NumberEdit),
      plot_(new RadiusPlot) {
    setObjectName(QStringLiteral("CameraCalibrationDialog"));
    setWindowTitle(tr("Camera calibration"));
    read(std::as_const(vyn_db()), std::string(keys::sens_camera), record_);
    intrinsics_->show_record(record_);
    intrinsics_->set_free(first_choice(vyn_db()));
    file_->setText(QString::fromStdString(camera_file(vyn_db(), record_).string()));
    picture_->add_overlay(&overlay_);

    auto* columns = new QHBoxLayout;
    columns->addLayout(left_side(), 2);
    columns->addLayout(right_side(), 3);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns, 1);
    layout->addLayout(buttons());
    connect(intrinsics_, &IntrinsicsTable::free_changed, this,
            &CameraCalibrationDialog::forget_result);
    if (program_session().images.find(read(vyn_db(), keys::resect_markers_view)))
        add_view(CalibrationViewTask::Kind::own, {});
    forget_result();
    resize(on_screen({1120, 760}));
}

CameraCalibrationDialog::~CameraCalibrationDialog() {
    picture_->remove_overlay(&overlay_);
}

QPushButton* CameraCalibrationDialog::button(const QString& text, const char* name,
                                             const QString& tip,
                                             void (CameraCalibrationDialog::*slot)()) {
    auto* made = new QPushButton(text);
    made->setObjectName(QLatin1String(name));
    made->setToolTip(tip);
    made->setAutoDefault(false);
    connect(made, &QPushButton::clicked, this, slot);
    return made;
}

QLayout* CameraCalibrationDialog::left_side() {
    list_->setObjectName(QStringLiteral("views"));
    list_->setColumnCount(column_count);
    list_->setHorizontalHeaderLabels({tr("Picture"), tr("Dots"), tr("Pairs"), tr("Record, px"),
                                      tr("Found, px"), tr("Left out, px")});
    const QStringList tips{
        tr("Whose dots are used"),
        tr("Active dots of the picture"),
        tr("Markers and dots that the result explains"),
        tr("Root mean square of the residuals of the same pairs, with the record's intrinsics"),
        tr("Root mean square of the residuals with the intrinsics found"),
        tr("Root mean square of each marker's residual against the result without it")};
    for (int column = 0; column < column_count; ++column)
        list_->horizontalHeaderItem(column)->setToolTip(tips[column]);
    list_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    list_->horizontalHeader()->setSectionResizeMode(name, QHeaderView::Stretch);
    list_->verticalHeader()->hide();
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    connect(list_, &QTableWidget::itemSelectionChanged, this,
            &CameraCalibrationDialog::show_chosen_view);
    remove_ = button(tr("&Remove"), "remove_view_btn", tr("Take the picture out of the list"),
                     &CameraCalibrationDialog::remove_view);
    auto* row = new QHBoxLayout;
    row->addWidget(button(tr("Add &project..."), "add_project_btn",
                          tr("The picture and dots of another project"),
                          &CameraCalibrationDialog::add_project));
    row->addWidget(button(tr("Add &markers..."), "add_markers_btn",
                          tr("The dots of another picture of this camera, from a marker file"),
                          &CameraCalibrationDialog::add_markers));
    row->addWidget(remove_);
    row->addStretch();

    words_->setObjectName(QStringLiteral("remarks"));
    words_->setWordWrap(true);
    words_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    words_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    words_->setMinimumHeight(7 * fontMetrics().lineSpacing());
    auto* pictures = new QGroupBox(tr("Pictures"));
    auto* in_pictures = new QVBoxLayout(pictures);
    in_pictures->addWidget(list_);
    in_pictures->addLayout(row);
    auto* camera = new QGroupBox(tr("Camera"));
    auto* in_camera = new QVBoxLayout(camera);
    in_camera->addWidget(intrinsics_);
    auto* layout = new QVBoxLayout;
    layout->addWidget(pictures, 2);
    layout->addWidget(camera);
    layout->addWidget(words_, 1);
    return layout;
}

QLayout* CameraCalibrationDialog::right_side() {
    factor_->setObjectName(QStringLiteral("residual_factor"));
    factor_->set_range(1e-3, 1e7);
    factor_->set_number(1);
    factor_->setMaximumWidth(12 * fontMetrics().averageCharWidth());
    connect(factor_, &QLineEdit::editingFinished, this, [this] {
        if (const auto factor = factor_->number()) overlay_.set_factor(*factor);
        picture_->update();
    });
    auto* label = new QLabel(tr("Residuals drawn longer b&y"));
    label->setBuddy(factor_);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(factor_);
    row->addStretch();
    picture_->setMinimumSize(320, 240);
    auto* layout = new QVBoxLayout;
    layout->addWidget(picture_, 3);
    layout->addLayout(row);
    layout->addWidget(plot_, 2);
    return layout;
}

QLayout* CameraCalibrationDialog::buttons() {
    file_->setObjectName(QStringLiteral("camera_file"));
    file_->setPlaceholderText(tr("none: stored in the project only"));
    auto* label = new QLabel(tr("Camera &file:"));
    label->setBuddy(file_);
    auto* choose = new QToolButton;
    choose->setIcon(vyn_icon(QStringLiteral("fileopen.png")));
    choose->setToolTip(tr("Choose the file to write the camera to"));
    connect(choose, &QToolButton::clicked, this, &CameraCalibrationDialog::choose_file);
    calibrate_ = button(tr("&Calibrate"), "calibrate_btn",
                        tr("Find the pose of every picture and what is free of the camera"),
                        &CameraCalibrationDialog::calibrate);
    calibrate_->setDefault(true);
    accept_ = new QPushButton(tr("&Accept"));
    accept_->setObjectName(QStringLiteral("accept_btn"));
    accept_->setAutoDefault(false);
    accept_->setToolTip(
        tr("Store the camera in the project and in its file; corrected images and "
           "what was made of them are out of date then"));
    connect(accept_, &QPushButton::clicked, this, &CameraCalibrationDialog::accept);
    auto* close = new QPushButton(tr("Close"));
    close->setObjectName(QStringLiteral("close_btn"));
    close->setAutoDefault(false);
    close->setToolTip(tr("Keep the camera as it was"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(file_, 1);
    row->addWidget(choose);
    row->addSpacing(24);
    for (QPushButton* last : {calibrate_, accept_, close})
        row->addWidget(last);
    return row;
}

void CameraCalibrationDialog::add_project() {
    const std::string file =
        ask_open_file(this, {tr("Add project"),
                             tr("VynLite projects (*.xml *.ims);;All files (*)"),
                             {},
                             project_folder(vyn_db()).string()});
    if (!file.empty()) add_view(CalibrationViewTask::Kind::project, file);
}

void CameraCalibrationDialog::add_markers() {
    const std::string file =
        ask_open_file(this, {tr("Add markers"),
                             tr("Markers (*.mrk *.xml *.txt *.dat);;All files (*)"),
                             {},
                             project_folder(vyn_db()).string()});
    if (!file.empty()) add_view(CalibrationViewTask::Kind::markers, file);
}

void CameraCalibrationDialog::add_view(CalibrationViewTask::Kind kind, const std::string& file) {
    auto task = std::make_unique<CalibrationViewTask>(program_session(), kind, file);
    const auto view = task->view();
    const auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (busy_box_.run(job) != TaskOutcome::done) return;
    views_.push_back(view);
    forget_result();
    list_->selectRow(list_->rowCount() - 1);
}

void CameraCalibrationDialog::remove_view() {
    const int row = list_->currentRow();
    if (row < 0 || static_cast<std::size_t>(row) >= views_.size()) return;
    views_.erase(views_.begin() + row);
    forget_result();
    if (!views_.empty()) list_->selectRow(std::min(row, list_->rowCount() - 1));
}

void CameraCalibrationDialog::calibrate() {
    finish_editing(*this);
    std::vector<PointView> seen;
    for (const auto& view : views_)
        seen.push_back(view->seen);
    auto task = std::make_unique<CalibrateCameraTask>(program_session(), seen, intrinsics_->free());
    const auto result = task->result();
    const auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (busy_box_.run(job) != TaskOutcome::done) return;
    result_ = result;
    intrinsics_->show_found(record_, found_camera());
    show_views();
    show_remarks();
    accept_->setEnabled(found_camera() && !found_camera()->freed.empty());
    if (list_->currentRow() < 0) list_->selectRow(0);
    show_chosen_view();
}

const ViewResult* CameraCalibrationDialog::found_camera() const {
    if (!result_) return nullptr;
    std::vector<PointView> seen;
    for (const auto& view : views_)
        seen.push_back(view->seen);
    const auto own = view_of_camera(seen, record_);
    return own ? &result_->found.views[*own] : nullptr;
}

void CameraCalibrationDialog::forget_result() {
    result_.reset();
    remarks_.clear();
    intrinsics_->show_found(record_, nullptr);
    accept_->setEnabled(false);
    calibrate_->setEnabled(!views_.empty());
    show_views();
    show_remarks();
    show_chosen_view();
}

void CameraCalibrationDialog::show_views() {
    const QSignalBlocker quiet(list_);
    const int chosen = list_->currentRow();
    list_->setRowCount(static_cast<int>(views_.size()));
    for (int row = 0; row < list_->rowCount(); ++row) {
        const auto v = static_cast<std::size_t>(row);
        const PointView& seen = views_[v]->seen;
        QStringList texts{QString::fromStdString(seen.name),
                          QString::number(std::ranges::count_if(seen.dots, &Marker::active))};
        if (result_) {
            const ViewResult& found = result_->found.views[v];
            const auto& before = result_->before[v];
            texts << QString::number(found.used) << (before ? number(before->rms) : tr("none"))
                  << number(found.rms) << number(found.leave_one_out_rms);
        }
        for (int column = 0; column < column_count; ++column)
            list_->setItem(row, column, new QTableWidgetItem(texts.value(column)));
        if (!(seen.record == record_))
            list_->item(row, name)->setToolTip(tr("Taken by a camera of its own"));
    }
    if (chosen >= 0 && chosen < list_->rowCount()) list_->selectRow(chosen);
    remove_->setEnabled(!views_.empty());
}

void CameraCalibrationDialog::show_chosen_view() {
    const int row = list_->currentRow();
    const bool any = row >= 0 && static_cast<std::size_t>(row) < views_.size();
    const auto v = static_cast<std::size_t>(std::max(row, 0));
    if (!any) {
        picture_->set_picture(nullptr);
        picture_->set_message(tr("Add a picture of the camera with its dots."));
    } else {
        const CalibrationView& view = *views_[v];
        const auto levels = view.picture ? view.picture : blank_picture(view.seen.record);
        Fashion fashion;
        Progress silent;
        fashion.limits = view.picture ? robust_limits(levels->picture(), silent) : Limits{0, 1};
        if (const palette_array* grey = find_palette("grey")) fashion.set_palette(*grey);
        picture_->set_picture(levels);
        picture_->set_fashion(fashion);
    }
    const ViewResult* found = any && result_ ? &result_->found.views[v] : nullptr;
    const ViewResult* before = found && result_->before[v] ? &*result_->before[v] : nullptr;
    overlay_.set_markers(found ? found->markers : std::vector<MarkerResult>());
    if (found) {
        factor_->set_number(residual_factor(found->markers, found->camera.width));
        overlay_.set_factor(*factor_->number());
    }
    picture_->update();
    plot_->show_residuals(found, before);
}

void CameraCalibrationDialog::show_remarks() {
    remarks_.clear();
    if (!result_) {
        words_->setText(views_.empty() ? QString()
                                       : tr("Tick what the pictures are to tell of the camera, and "
                                            "press Calibrate."));
        return;
    }
    const ResectReport& report = result_->found;
    remarks_ = report.remarks;
    if (!found_camera())
        remarks_.push_back(
            tr("none of the pictures was taken by the project's camera: there is nothing to accept")
                .toStdString());
    QString text;
    if (!remarks_.empty()) {
        text = QStringLiteral("<ul style='margin-left:-24px'>");
        for (const std::string& remark : remarks_)
            text +=
                QStringLiteral("<li>%1</li>").arg(QString::fromStdString(remark).toHtmlEscaped());
        text += QStringLiteral("</ul>");
    }
    text += tr("Strongest correlation %1, condition %2.")
                .arg(number(report.strongest_correlation, 3), number(report.condition, 2));
    double covered = 0;
    for (const ViewResult& view : report.views)
        covered = std::max(covered, view.hull_share);
    text += QStringLiteral("<br>") + tr("The dots span %1 % of the picture; what lies outside of "
                                        "them is extrapolated.")
                                         .arg(number(100 * covered, 2));
    words_->setText(text);
}

void CameraCalibrationDialog::choose_file() {
    const std::string file =
        ask_save_file(this, {tr("Camera file"), tr("Camera (*.ini *.cam);;All files (*)"),
                             QStringLiteral("ini"), output_folder(vyn_db()).string()});
    if (file.empty()) return;
    agreed_file_ = file;
    file_->setText(QString::fromStdString(file));
}

/// The camera's own file is meant to be written; any other one that exists is asked for.
bool CameraCalibrationDialog::may_write_file() {
    const std::string file = file_->text().toStdString();
    std::error_code ignored;
    return file.empty() || file == agreed_file_ || file == camera_file(vyn_db(), record_) ||
           !std::filesystem::exists(file, ignored) ||
           QMessageBox::question(this, windowTitle(),
                                 tr("%1 exists. Replace it?").arg(file_->text())) ==
               QMessageBox::Yes;
}

void CameraCalibrationDialog::accept() {
    const ViewResult* found = found_camera();
    if (!found || found->freed.empty() || !may_write_file()) return;
    std::filesystem::path file = file_->text().toStdString();
    if (!file.empty() && file.is_relative()) file = project_folder(vyn_db()) / file;
    if (attempt(this, windowTitle(), [&] { accept_camera(vyn_db(), *found, file); }))
        QDialog::accept();
}

}  // namespace vyn
