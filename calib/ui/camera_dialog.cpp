#include "calib/ui/camera_dialog.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

#include "calib/ui/unit_lists.h"
#include "core/keys.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/form_grid.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

QString camera_filter() {
    return QObject::tr("Camera (*.ini *.cam);;All files (*)");
}

}  // namespace

QVynCamera::QVynCamera(dataSetInterface& settings, std::string tree, QWidget* parent)
    : SettingDialog(settings, parent), tree_(std::move(tree)) {
    setWindowTitle(tr("Camera Features"));
    const auto text = [this](const char* key, const char* name) {
        return form().text(tree_ + key, name);
    };
    const auto number = [this](const char* key, const char* name) {
        return form().number(tree_ + key, name);
    };
    QLineEdit* unit = text("default_length_unit", "unit_edit");
    offer_names(*unit, unit_list(length_unit_names()));
    auto* rows = new FormGrid;
    rows->add_row(tr("Camera ID"), text("camera_ID", "camera_id_edit"));
    rows->add_row(tr("Camera Name"), text("camera_name", "camera_name_edit"));
    rows->add_row(tr("Length Unit"), unit);
    rows->add_row(tr("Focus Length"), number("focus", "focus_edit"), unit_label(unit));
    rows->add_row(tr("Distortion a2"), number("a2", "dist_a2_edit"), tr("1/px²"));
    rows->add_row(tr("Distortion a4"), number("a4", "dist_a4_edit"), tr("1/px⁴"));
    rows->add_row(tr("Pixel Size, \tX"), number("dx", "pixel_x_edit"), tr("Y"),
                  number("dy", "pixel_y_edit"), unit_label(unit));
    rows->add_row(tr("Image Center, \tX"), number("cx", "center_x_edit"), tr("Y"),
                  number("cy", "center_y_edit"), new QLabel(tr("px")));
    rows->add_row(tr("Pixel Count, \tX"), number("ncx", "sensor_x_edit"), tr("Y"),
                  number("ncy", "sensor_y_edit"), new QLabel(tr("px")));
    if (tree_ != keys::temperature_camera) add_flat_row(*rows);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(rows);
    layout->addStretch();
    layout->addLayout(file_row());
    const Buttons buttons = add_buttons(*layout);
    buttons.ok->setObjectName(QStringLiteral("ok_btn"));
    buttons.cancel->setObjectName(QStringLiteral("cancel_btn"));

    cameraFeatures record;
    read(settings, tree_, record);
    show_record(record);
}

void QVynCamera::add_flat_row(FormGrid& rows) {
    flat_edit_ = form().text(tree_ + "flat_file", "flat_edit");
    auto* choose = new QToolButton;
    choose->setObjectName(QStringLiteral("toolButton16"));
    choose->setIcon(vyn_icon(QStringLiteral("fileopen.png")));
    choose->setToolTip(tr("Choose the flat-field image"));
    connect(choose, &QToolButton::clicked, this, &QVynCamera::choose_flat);
    rows.add_row(tr("Flat File"), flat_edit_, choose);
}

QHBoxLayout* QVynCamera::file_row() {
    auto* open = new QPushButton(vyn_icon(QStringLiteral("fileopen.png")), tr("&Open..."));
    open->setObjectName(QStringLiteral("open_btn"));
    open->setToolTip(tr("Read the camera from a file"));
    auto* save = new QPushButton(vyn_icon(QStringLiteral("filesave.png")), tr("&Save..."));
    save->setObjectName(QStringLiteral("save_btn"));
    save->setToolTip(tr("Write the camera to a file"));
    for (QPushButton* button : {open, save})
        button->setAutoDefault(false);
    connect(open, &QPushButton::clicked, this, &QVynCamera::open_camera);
    connect(save, &QPushButton::clicked, this, &QVynCamera::save_camera);
    auto* row = new QHBoxLayout;
    row->addWidget(open);
    row->addWidget(save);
    row->addStretch();
    return row;
}

cameraFeatures QVynCamera::shown_record() {
    form().write(draft_);
    cameraFeatures record;
    read(draft_, tree_, record);
    return record;
}

void QVynCamera::show_record(const cameraFeatures& record) {
    write(draft_, tree_, record);
    form().show(draft_);
}

void QVynCamera::store() {
    const cameraFeatures record = shown_record();
    convert_length(1, record.default_length_unit, "m");  // reports a name that it does not know
    write(settings(), tree_, record);
}

void QVynCamera::open_camera() {
    const std::string file = ask_open_file(
        this, {windowTitle(), camera_filter(), {}, output_folder(settings()).string()});
    if (!file.empty()) open_file(file);
}

bool QVynCamera::open_file(const std::string& file) {
    bool shown = false;
    attempt(this, windowTitle(), [&] {
        cameraFeatures record = shown_record();
        shown = read_camera(file, record) != RecordOutcome::no_record;
        if (shown)
            show_record(record);
        else
            report_failure(this, windowTitle(),
                           tr("%1 holds no camera.").arg(QString::fromStdString(file)));
    });
    return shown;
}

void QVynCamera::save_camera() {
    if (!form().check()) return;
    const std::string file =
        ask_save_file(this, {windowTitle(), camera_filter(), QStringLiteral("ini"),
                             output_folder(settings()).string()});
    if (file.empty()) return;
    attempt(this, windowTitle(), [&] {
        cameraFeatures record = shown_record();
        record.camera = file;
        write_camera(file, record);
        show_record(record);
    });
}

void QVynCamera::choose_flat() {
    const std::string file = ask_open_file(
        this, {tr("Flat File"), tr("All files (*)"), {}, output_folder(settings()).string()});
    if (!file.empty()) flat_edit_->setText(QString::fromStdString(file));
}

}  // namespace vyn
