#include "view/ui/association/resection_dialog.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>
#include <algorithm>
#include <cmath>

#include "core/keys.h"
#include "core/numbers.h"
#include "core/ui/file_question.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"
#include "core/worker.h"
#include "process/model/model_inputs.h"
#include "process/model/model_views.h"
#include "process/model/view_coverage.h"
#include "process/point/project_paths.h"
#include "process/point/session.h"

namespace vyn {

namespace {

std::optional<Pose> pose_of(const dataSetInterface& settings) {
    return stored_pose(settings, "mm");  // shown in the camera's own unit
}

QString pose_words(const dataSetInterface& settings) {
    const auto pose = pose_of(settings);
    if (!pose) return ResectionDialog::tr("none yet");
    const auto text = [](double number) {
        return QString::fromStdString(format_general(number, 5));
    };
    constexpr double degrees = 57.29577951308232;
    return ResectionDialog::tr("turned by %1°, shifted by %2, %3, %4")
        .arg(text(degrees * vector_of(pose->rotation).norm()), text(pose->shift.x()),
             text(pose->shift.y()), text(pose->shift.z()));
}

QTableWidget* coverage_table(const std::vector<ViewCoverage>& views) {
    auto* table = new QTableWidget(static_cast<int>(views.size()), 5);
    table->setObjectName(QStringLiteral("view_coverage"));
    table->setHorizontalHeaderLabels({ResectionDialog::tr("Camera"), ResectionDialog::tr("rms, px"),
                                      ResectionDialog::tr("Best view"),
                                      ResectionDialog::tr("Seen by others"),
                                      ResectionDialog::tr("Spread")});
    table->verticalHeader()->hide();
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int line = 0; line < table->rowCount(); ++line) {
        const ViewCoverage& view = views[static_cast<std::size_t>(line)];
        const auto percent = [](double share) {
            return ResectionDialog::tr("%1 %").arg(100 * share, 0, 'f', 1);
        };
        const auto number = [](double value) {
            return std::isnan(value) ? QString() : QString::number(value, 'g', 4);
        };
        const QString texts[] = {QString::fromStdString(view.name), number(view.rms),
                                 percent(view.best_share), percent(view.shared_share),
                                 number(view.spread)};
        for (int column = 0; column < table->columnCount(); ++column)
            table->setItem(line, column, new QTableWidgetItem(texts[column]));
    }
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 6);
    constexpr int most_lines = 5;
    table->setFixedHeight((1 + std::min(table->rowCount(), most_lines)) *
                          (table->fontMetrics().height() + 8));
    table->setToolTip(
        ResectionDialog::tr("Of the values that are on the mesh now: where each camera is the best "
                            "view, how much of that others see too, and how far they differ"));
    return table;
}

}  // namespace

ResectionDialog::ResectionDialog(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent), pose_(new QLabel), views_(new QListWidget) {
    setObjectName(QStringLiteral("ResectionDialog"));
    setWindowTitle(tr("Resection and model"));
    auto* left = new QVBoxLayout;
    left->addWidget(marker_group());
    left->addWidget(pose_group());
    left->addStretch();
    auto* right = new QVBoxLayout;
    right->addWidget(mesh_group());
    right->addWidget(projection_group());
    right->addStretch();
    auto* columns = new QHBoxLayout;
    columns->addLayout(left);
    columns->addLayout(right);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addWidget(view_group(), 1);
    add_buttons(*layout);
    form().show(settings);
}

QGroupBox* ResectionDialog::marker_group() {
    auto* group = new QGroupBox(tr("Markers"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Picture:"), form().choice(keys::resect_markers_view.path,
                                                 {{tr("Wind-off, signal"), "wind_off_sens"},
                                                  {tr("Wind-on, signal"), "wind_on_sens"},
                                                  {tr("Wind-off, reference"), "wind_off_refe"},
                                                  {tr("Wind-on, reference"), "wind_on_refe"}}));
    rows->add_row(tr("P&airing:"), form().choice(keys::resect_pairing.path,
                                                 {{tr("By number where they agree"), "auto"},
                                                  {tr("By number"), "number"},
                                                  {tr("By place"), "geometry"}}));
    rows->add_row(tr("&Gate:"), form().number(keys::resect_gate.path), tr("px"));
    rows->add_row(tr("&Fewest pairs:"), form().number(keys::resect_min_pairs.path));
    rows->add_row(tr("Dots are good to:"), form().number(keys::resect_image_sigma.path), tr("px"));
    rows->add_row(tr("3-D &markers are good to:"), form().number(keys::resect_marker_sigma.path),
                  tr("of the mesh's unit"));
    rows->add_row(tr("3-D markers' unit:"), form().choice(keys::resect_markers_unit.path,
                                                          {{tr("File's, else the mesh's"), ""},
                                                           {tr("mm"), "mm"},
                                                           {tr("cm"), "sm"},
                                                           {tr("dm"), "dm"},
                                                           {tr("m"), "m"},
                                                           {tr("km"), "km"}}));
    return group;
}

QGroupBox* ResectionDialog::pose_group() {
    auto* group = new QGroupBox(tr("Pose and camera"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Start:"), form().choice(keys::resect_type.path, {{tr("Automatic"), "0"},
                                                                        {tr("Direct linear"), "1"},
                                                                        {tr("Plane"), "2"},
                                                                        {tr("Two stages"), "3"},
                                                                        {tr("Stored pose"), "4"}}));
    rows->add_row(tr("Of a plane's two poses:"),
                  form().choice(keys::resect_pose_choice.path,
                                {{tr("The better one"), "0"}, {tr("The other one"), "1"}}));
    rows->add_row(tr("&Large residuals weigh:"),
                  form().choice(keys::resect_loss.path, {{tr("Less (Huber)"), "huber"},
                                                         {tr("Next to nothing (Tukey)"), "tukey"},
                                                         {tr("As they are"), "none"}}));
    rows->add_wide(form().flag(keys::resect_free_focus.path, tr("Adjust the f&ocal length")));
    rows->add_wide(form().flag(keys::resect_free_centre.path, tr("Adjust the image &centre")));
    rows->add_wide(form().flag(keys::resect_free_a2.path, tr("Adjust the distortion a&2")));
    rows->add_wide(form().flag(keys::resect_free_a4.path, tr("Adjust the distortion a&4")));
    pose_->setObjectName(QStringLiteral("stored_pose"));
    pose_->setText(pose_words(settings()));
    pose_->setToolTip(tr("Shift in the camera's length unit"));
    auto* forget = new QPushButton(tr("Forget"));
    forget->setObjectName(QStringLiteral("forget_pose"));
    forget->setToolTip(tr("The next resection starts without a pose"));
    forget->setEnabled(pose_of(settings()).has_value());
    forget->setAutoDefault(false);
    connect(forget, &QPushButton::clicked, this, [this, forget] {
        pose_forgotten_ = true;
        pose_->setText(tr("none yet"));
        forget->setEnabled(false);
    });
    rows->add_row(tr("Stored pose:"), pose_, forget);
    return group;
}

QGroupBox* ResectionDialog::mesh_group() {
    auto* group = new QGroupBox(tr("Mesh"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Unit, where its file has none:"),
                  form().choice(keys::resect_mesh_unit.path, {{tr("mm"), "mm"},
                                                              {tr("cm"), "sm"},
                                                              {tr("dm"), "dm"},
                                                              {tr("m"), "m"},
                                                              {tr("km"), "km"}}));
    rows->add_row(
        tr("&Half model, add the mirror image about:"),
        form().choice(
            keys::resect_mirror.path,
            {{tr("None"), "none"}, {tr("x = 0"), "x"}, {tr("y = 0"), "y"}, {tr("z = 0"), "z"}}));
    rows->add_row(tr("Painted sides of a sheet:"),
                  form().choice(keys::resect_open_sheets.path,
                                {{tr("As filed"), "filed"}, {tr("Both"), "both"}}));
    rows->add_row(tr("&Values at:"),
                  form().choice(keys::resect_location.path,
                                {{tr("Nodes"), "nodes"}, {tr("Cells"), "cells"}}));
    return group;
}

QGroupBox* ResectionDialog::projection_group() {
    auto* group = new QGroupBox(tr("Projection"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("Steepest angle:"), form().number(keys::resect_obliqueness.path), tr("°"));
    rows->add_row(tr("Lift of lines of sight:"), form().number(keys::resect_tolerance.path),
                  tr("of the diagonal"));
    rows->add_row(tr("Sampli&ng:"), form().choice(keys::resect_sampling.path,
                                                  {{tr("By the size of the faces"), "auto"},
                                                   {tr("At the place"), "point"},
                                                   {tr("Mean over the faces"), "area"}}));
    rows->add_row(tr("Least valid weight:"), form().number(keys::resect_min_valid.path));
    rows->add_row(tr("&Edges:"), form().number(keys::resect_edge_px.path), tr("px"));
    rows->add_row(tr("&Radius of the dots:"), form().number(keys::resect_marker_patch.path),
                  tr("px"));
    rows->add_wide(form().flag(keys::resect_ratio_on_mesh.path, tr("Form the ra&tio on the mesh")));
    return group;
}

QGroupBox* ResectionDialog::view_group() {
    auto* group = new QGroupBox(tr("Further cameras"));
    views_->setObjectName(QStringLiteral("views"));
    views_->setToolTip(tr("Projects whose cameras, markers and saved fields join this mesh"));
    for (const std::string& name : view_names(settings()))
        views_->addItem(QString::fromStdString(name));
    auto* buttons = new QVBoxLayout;
    const auto add_button = [&](const char* name, const QString& text,
                                void (ResectionDialog::*slot)()) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
    };
    add_button("add_view", tr("Add vie&w..."), &ResectionDialog::add_view);
    add_button("remove_view", tr("Remove"), &ResectionDialog::remove_view);
    buttons->addStretch();
    auto* blending = new FormGrid;
    blending->add_row(tr("&Blend:"),
                      form().choice(keys::resect_blend.path, {{tr("Weighted mean"), "weighted"},
                                                              {tr("Best view"), "best"}}));
    blending->add_row(tr("Power of the cosine:"), form().number(keys::resect_blend_power.path));
    blending->add_row(tr("Fade to the edges over:"), form().number(keys::resect_feather_px.path),
                      tr("px"));
    auto* aside = new QVBoxLayout;
    aside->addLayout(blending);
    aside->addStretch();
    views_->setMinimumHeight(4 * fontMetrics().height());
    views_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    auto* top = new QHBoxLayout;
    top->addWidget(views_, 1);
    top->addLayout(buttons);
    top->addLayout(aside);
    auto* column = new QVBoxLayout(group);
    column->addLayout(top);
    // A computation may be writing the mesh.
    if (!idle_flag()) return group;
    if (const auto seen = view_coverage(program_session().field); !seen.empty())
        column->addWidget(coverage_table(seen));
    return group;
}

void ResectionDialog::add_view() {
    const std::string file = ask_open_file(this, {tr("Add view"),
                                                  tr("VYN Projects (*.ims *.xml);;All files (*)"),
                                                  {},
                                                  output_folder(settings()).string()});
    if (file.empty()) return;
    const QString name = QString::fromStdString(file);
    if (views_->findItems(name, Qt::MatchExactly).isEmpty()) views_->addItem(name);
}

void ResectionDialog::remove_view() {
    delete views_->currentItem();
}

void ResectionDialog::store() {
    SettingDialog::store();
    QStringList listed;
    for (int i = 0; i < views_->count(); ++i)
        listed << views_->item(i)->text();
    const std::string names = listed.join(QLatin1Char(';')).toStdString();
    if (names != read(settings(), keys::resect_views)) write(settings(), keys::resect_views, names);
    if (pose_forgotten_) store_pose(settings(), Pose(), "mm");
}

}  // namespace vyn
