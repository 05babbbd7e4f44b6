#include "view/ui/markers/marker_info.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <limits>

#include "core/numbers.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "view/ui/markers/marker_controller.h"

namespace vyn {

namespace {

QPushButton* step_button(const char* icon, const QString& text, const char* name, QWidget* parent) {
    auto* button = new QPushButton(vyn_icon(QLatin1String(icon)), text, parent);
    button->setObjectName(QLatin1String(name));
    return button;
}

NumberEdit* number_edit(const char* name, QWidget* parent) {
    auto* edit = new NumberEdit(parent);
    edit->setObjectName(QLatin1String(name));
    return edit;
}

void show_position(NumberEdit& edit, double pixels) {
    constexpr int decimals = 3;
    edit.setText(QString::fromStdString(format_fixed(pixels, decimals)));
}

}  // namespace

VynMarkerInfo::VynMarkerInfo(MarkerController& markers)
    : markers_(markers),
      position_(new QLabel(this)),
      number_(number_edit("number", this)),
      x_(number_edit("x", this)),
      y_(number_edit("y", this)),
      f_(number_edit("function", this)),
      f_label_(new QLabel(this)),
      active_(new QCheckBox(tr("&Active"), this)),
      prev_(step_button("player_rew.png", tr("Prev"), "prev", this)),
      next_(step_button("player_fwd.png", tr("Next"), "next", this)),
      apply_(new QPushButton(tr("A&pply"), this)) {
    setObjectName(QStringLiteral("VynMarkerInfo"));
    setWindowTitle(tr("Marker info"));
    number_->set_kind(NumberEdit::Kind::whole);
    number_->set_range(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    active_->setObjectName(QStringLiteral("active"));
    active_->setToolTip(tr("Active"));
    apply_->setObjectName(QStringLiteral("apply"));
    apply_->setToolTip(tr("Write the values into the marker"));
    f_label_->setBuddy(f_);

    auto* form = new QFormLayout;
    form->addRow(tr("&Number"), number_);
    form->addRow(tr("&x, pix"), x_);
    form->addRow(tr("&y, pix"), y_);
    form->addRow(f_label_, f_);
    form->addRow(active_);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(prev_);
    buttons->addWidget(next_);
    buttons->addWidget(apply_);
    auto* column = new QVBoxLayout(this);
    column->addWidget(position_);
    column->addLayout(form);
    column->addLayout(buttons);
    column->addStretch();
    setFocusProxy(number_);

    connect(prev_, &QPushButton::clicked, this, &VynMarkerInfo::go_prev);
    connect(next_, &QPushButton::clicked, this, &VynMarkerInfo::go_next);
    connect(apply_, &QPushButton::clicked, this, &VynMarkerInfo::accept);
    for (NumberEdit* edit : {number_, x_, y_, f_}) {
        connect(edit, &QLineEdit::returnPressed, this, &VynMarkerInfo::accept);
        // The keyboard goes elsewhere.
        connect(edit, &QLineEdit::editingFinished, this, [this, edit] {
            if (edit->isModified()) accept();
        });
    }
    connect(active_, &QCheckBox::clicked, this, &VynMarkerInfo::accept);
    connect(&markers_, &MarkerController::markers_changed, this, &VynMarkerInfo::read);
    read();
}

void VynMarkerInfo::go_prev() {
    if (accept()) markers_.go_prev();
}

void VynMarkerInfo::go_next() {
    if (accept()) markers_.go_next();
}

void VynMarkerInfo::read() {
    const MarkerEdit& edit = markers_.markers();
    const auto current = edit.current();
    for (QWidget* widget :
         std::initializer_list<QWidget*>{number_, x_, y_, f_, active_, prev_, next_, apply_})
        widget->setEnabled(current.has_value());
    const std::string& function = edit.set().functionName;
    f_label_->setText(function.empty() ? tr("&Function value")
                                       : tr("&Function %1").arg(QString::fromStdString(function)));
    if (!current) {
        position_->setText(tr("No markers"));
        for (NumberEdit* field : {number_, x_, y_, f_})
            field->clear();
        active_->setChecked(false);
        return;
    }
    const Marker& marker = edit.at(*current);
    position_->setText(tr("Marker %1 of %2").arg(*current + 1).arg(edit.count()));
    number_->set_number(marker.id);
    show_position(*x_, marker.x);
    show_position(*y_, marker.y);
    f_->set_number(marker.f);
    active_->setChecked(marker.active);
    for (NumberEdit* field : {number_, x_, y_, f_})
        field->check();
}

bool VynMarkerInfo::accept() {
    const auto current = markers_.markers().current();
    if (!current) return true;
    bool sound = true;
    for (NumberEdit* field : {number_, x_, y_, f_})
        sound = field->check() && sound;
    if (!sound) return false;
    Marker marker = markers_.markers().at(*current);
    marker.id = static_cast<std::int32_t>(*number_->number());
    // A position that was not typed keeps the digits that are not shown.
    if (x_->isModified()) marker.x = *x_->number();
    if (y_->isModified()) marker.y = *y_->number();
    marker.f = *f_->number();
    marker.active = active_->isChecked();
    return markers_.change([&](MarkerEdit& edit) { edit.edit(*current, marker); });
}

}  // namespace vyn
