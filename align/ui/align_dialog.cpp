#include "align/ui/align_dialog.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>

#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

QVynAlign::QVynAlign(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Align"));
    auto* left = new QVBoxLayout;
    left->addWidget(marker_group());
    left->addWidget(correlation_group());
    left->addWidget(resampling_group());
    left->addStretch();
    auto* right = new QVBoxLayout;
    right->addWidget(filter_group());
    right->addWidget(limit_group());
    right->addStretch();
    auto* columns = new QHBoxLayout;
    columns->addLayout(left);
    columns->addLayout(right);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addStretch();
    add_buttons(*layout);
    form().show(settings);
}

QGroupBox* QVynAlign::marker_group() {
    QGroupBox* group = form().group(keys::markers_enable.path, tr("Markes alignment options."));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Order:"), form().choice(keys::markers_order.path, {{tr("0 (shift)"), "0"},
                                                                          {tr("1 (affine)"), "1"},
                                                                          {tr("2"), "2"},
                                                                          {tr("3"), "3"}}));
    rows->add_row(tr("&Box Size:"), form().number(keys::markers_box.path), tr("px"));
    QCheckBox* by_place =
        form().flag(keys::markers_geometry.path, tr("P&air by place, whatever the numbers"));
    rows->add_wide(by_place);
    QWidget* link = form().choice(keys::markers_link.path, {{tr("By number or order"), "0"},
                                                            {tr("By nearest neighbour"), "1"}});
    rows->add_row(tr("&Link:"), link);
    QWidget* fix = form().number(keys::markers_fix.path);
    rows->add_row(tr("Fi&x first:"), fix, tr("markers"));
    rows->add_row(tr("&Refine by:"),
                  form().choice(keys::markers_refine.path, {{tr("Extremum of a surface"), "0"},
                                                            {tr("Fit of a round dot"), "1"}}));
    rows->add_row(tr("Between cameras:"),
                  form().choice(keys::channels_order.path, {{tr("Best order"), "-1"},
                                                            {tr("0 (shift)"), "0"},
                                                            {tr("1 (affine)"), "1"},
                                                            {tr("2"), "2"},
                                                            {tr("3"), "3"}}));
    connect(by_place, &QCheckBox::toggled, link, &QWidget::setDisabled);
    connect(by_place, &QCheckBox::toggled, fix, &QWidget::setDisabled);
    return group;
}

QGroupBox* QVynAlign::correlation_group() {
    QGroupBox* group = form().group(keys::qped_enable.path, tr("&QPED alignment options."));
    auto* rows = new FormGrid(group);
    auto* note = new QLabel(
        tr("Detail that can be followed: about 4 steps. Smallest useful texture: 3 cells in "
           "a row."));
    note->setObjectName(QStringLiteral("qped_note"));
    note->setWordWrap(true);
    rows->add_wide(form().flag(keys::qped_global.path, tr("Global pass")));
    rows->add_row(tr("&Iterations:"), form().number(keys::qped_iter.path));
    rows->add_row(tr("&Step:"), form().number(keys::qped_step.path), tr("px"));
    rows->add_row(tr("C&ell size:"), form().number(keys::qped_cell.path), tr("px"));
    rows->add_wide(note);
    return group;
}

QGroupBox* QVynAlign::filter_group() {
    QGroupBox* group = form().group(keys::filter_enable.path, tr("Smoothing &filter"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Type:"),
                  form().choice(keys::filter_type.path,
                                {{tr("Flat"), "1"}, {tr("Gauss"), "2"}, {tr("Median"), "4"}},
                                {{tr("Limits only"), "0"}, {tr("Gauss weighted by value"), "3"}}));
    rows->add_row(tr("&Width:"), form().number(keys::filter_dx.path), tr("Hei&ght:"),
                  form().number(keys::filter_dy.path), new QLabel(tr("px")));
    rows->add_row(tr("&Passes:"), form().number(keys::filter_iter.path));
    rows->add_row(tr("Excl&ude below:"), form().number(keys::filter_min.path), tr("counts"));
    rows->add_row(tr("Clamp abo&ve:"), form().number(keys::filter_max.path), tr("counts"));
    rows->add_row(tr("Fill holes up to:"), form().number(keys::filter_fill.path), tr("%"));
    rows->add_row(tr("Value weighting:"), form().number(keys::filter_range.path), tr("%"));
    return group;
}

QGroupBox* QVynAlign::limit_group() {
    auto* group = new QGroupBox(tr("Ratio"));
    auto* rows = new FormGrid(group);
    QCheckBox* clamp = form().flag(keys::filter_threshold.path, tr("&Clamp to thresholds"));
    QWidget* low = form().number(keys::threshold_min.path);
    QWidget* high = form().number(keys::threshold_max.path);
    QCheckBox* thin = form().flag(keys::filter_thinning.path, tr("T&hinning"));
    QWidget* depth = form().number(keys::filter_thinning_depth.path);
    rows->add_wide(clamp);
    rows->add_row(tr("Mi&nimum:"), low);
    rows->add_row(tr("&Maximum:"), high);
    rows->add_wide(thin);
    rows->add_row(tr("&Depth:"), depth, tr("px"));
    for (QWidget* edit : {low, high}) {
        edit->setEnabled(false);
        connect(clamp, &QCheckBox::toggled, edit, &QWidget::setEnabled);
    }
    depth->setEnabled(false);
    connect(thin, &QCheckBox::toggled, depth, &QWidget::setEnabled);
    return group;
}

QGroupBox* QVynAlign::resampling_group() {
    auto* group = new QGroupBox(tr("Resampling"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("Spline degree:"),
                  form().choice(keys::spline_degree.path,
                                {{tr("2"), "2"}, {tr("3"), "3"}, {tr("4"), "4"}, {tr("5"), "5"}}));
    rows->add_row(tr("Excluded pixels:"),
                  form().choice(keys::spline_edges.path, {{tr("As stored"), "stored"},
                                                          {tr("Continue the valid"), "extended"}}));
    rows->add_wide(form().flag(keys::resample_once.path, tr("Sample the aligned picture once")));
    return group;
}

}  // namespace vyn
