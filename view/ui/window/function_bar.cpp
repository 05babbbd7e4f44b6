#include "view/ui/window/function_bar.h"

#include <QAction>
#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

#include "core/numbers.h"
#include "view/ui/look/vector_form.h"

namespace vyn {

namespace {

constexpr int buttons_beside = 4;

QString number_text(double number) {
    return QString::fromStdString(format_general(number, 7));
}

/// Numbers that the user can select, in a place that does not jump as they change.
QLabel* value_label(const char* name) {
    auto* label = new QLabel;
    label->setObjectName(QLatin1String(name));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setMinimumWidth(
        label->fontMetrics().horizontalAdvance(QStringLiteral("outside the region")));
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

}  // namespace

VynFunctionBar::VynFunctionBar(QWidget* parent) : QWidget(parent) {
    setWindowTitle(tr("Function Bar"));
    modes_ = new QGroupBox(tr("Viewer Modes"));
    new QGridLayout(modes_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(modes_);
    layout->addWidget(make_pixel_group());
    layout->addWidget(make_grid_group());
    layout->addStretch();
    grid_present(false);
    show_pixel({});
    show_fashion({});
}

void VynFunctionBar::set_modes(const QList<QAction*>& actions) {
    auto* grid = static_cast<QGridLayout*>(modes_->layout());
    for (int i = 0; i < actions.size(); ++i) {
        auto* button = new QToolButton;
        button->setDefaultAction(actions[i]);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::TabFocus);
        button->setIconSize({22, 22});
        grid->addWidget(button, i / buttons_beside, i % buttons_beside);
    }
    grid->setColumnStretch(buttons_beside, 1);
}

QGroupBox* VynFunctionBar::make_pixel_group() {
    auto* group = new QGroupBox(tr("Pixel"));
    auto* form = new QFormLayout(group);
    position_ = value_label("pixel_position");
    value_name_ = new QLabel;
    value_name_->setTextFormat(Qt::PlainText);  // a unit comes from a file
    value_ = value_label("pixel_value");
    place_ = value_label("pixel_place");
    u_ = value_label("pixel_u");
    v_ = value_label("pixel_v");
    form->addRow(tr("Position:"), position_);
    form->addRow(value_name_, value_);
    form->addRow(tr("Place:"), place_);
    form->addRow(tr("U:"), u_);
    form->addRow(tr("V:"), v_);
    auto* copy = new QPushButton(tr("Copy pixel"));
    copy->setToolTip(tr("Copy these values to the clipboard"));
    connect(copy, &QPushButton::clicked, this, &VynFunctionBar::copy_pixel_wanted);
    form->addRow(copy);
    return group;
}

QGroupBox* VynFunctionBar::make_grid_group() {
    grid_ = new QGroupBox(tr("Grid options"));
    auto* layout = new QVBoxLayout(grid_);
    vectors_shown_ = new QCheckBox(tr("Show vectors"));
    vectors_shown_->setObjectName(QStringLiteral("vectors_shown"));
    vectors_ = new VectorForm;
    layout->addWidget(vectors_shown_);
    layout->addWidget(vectors_);
    connect(vectors_shown_, &QCheckBox::toggled, this, &VynFunctionBar::choose_vectors);
    connect(vectors_, &VectorForm::style_chosen, this, &VynFunctionBar::choose_vectors);
    return grid_;
}

void VynFunctionBar::grid_present(bool present) {
    grid_->setEnabled(present);
}

void VynFunctionBar::set_quantity(const QString& quantity) {
    quantity_ = quantity;
    value_name_->setText(quantity.isEmpty() ? tr("Value:") : quantity + QLatin1Char(':'));
}

void VynFunctionBar::show_pixel(const ProbedPixel& pixel) {
    pixel_ = pixel;
    position_->setText(QStringLiteral("%1, %2").arg(pixel.x).arg(pixel.y));
    const QString none(QChar(0x2013));
    value_->setText(pixel.background ? none : number_text(double{pixel.value}));
    place_->setText(pixel.background ? tr("background")
                    : pixel.in_roi   ? tr("in the region")
                                     : tr("outside the region"));
    u_->setText(pixel.has_vectors ? number_text(double{pixel.u}) : none);
    v_->setText(pixel.has_vectors ? number_text(double{pixel.v}) : none);
}

QString VynFunctionBar::pixel_as_text() const {
    QString text = QStringLiteral("x\t%1\ny\t%2\n").arg(pixel_.x).arg(pixel_.y);
    const auto exact = [](float number) { return QString::fromStdString(format_double(number)); };
    const QString name = quantity_.isEmpty() ? tr("value") : quantity_;
    text += QStringLiteral("%1\t%2\n")
                .arg(name, pixel_.background ? tr("background") : exact(pixel_.value));
    if (pixel_.has_vectors)
        text += QStringLiteral("U\t%1\nV\t%2\n").arg(exact(pixel_.u), exact(pixel_.v));
    return text;
}

void VynFunctionBar::show_fashion(const Fashion& fashion) {
    vectors_->show_style(fashion.vectors);
    const QSignalBlocker quiet(vectors_shown_);
    vectors_shown_->setChecked(fashion.vectors.shown);
}

void VynFunctionBar::choose_vectors() {
    VectorStyle style = vectors_->style();
    style.shown = vectors_shown_->isChecked();
    Q_EMIT vectors_chosen(style);
}

}  // namespace vyn
