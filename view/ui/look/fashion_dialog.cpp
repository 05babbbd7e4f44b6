#include "view/ui/look/fashion_dialog.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>

#include "core/errors.h"
#include "core/log.h"
#include "core/numbers.h"
#include "core/ui/number_edit.h"
#include "view/ui/look/iso_form.h"
#include "view/ui/look/palette_box.h"
#include "view/ui/look/vector_form.h"

namespace vyn {

QFashionDlg::QFashionDlg(const Fashion& fashion, QWidget* parent)
    : QDialog(parent), fashion_(fashion), kept_(fashion), at_start_(fashion) {
    setWindowTitle(tr("Image Fashion"));
    setObjectName(QStringLiteral("QFashionDlg"));
    auto* layout = new QVBoxLayout(this);
    groups_ = new QVBoxLayout;
    layout->addLayout(groups_);
    groups_->addWidget(make_paint_group());
    groups_->addWidget(make_palette_group());
    groups_->addWidget(make_iso_group());
    groups_->addWidget(make_vector_group());
    layout->addWidget(make_buttons());
    set_limit_labels(tr("Paint min:"), tr("Paint max:"));
    QFashionDlg::show_fashion(fashion);
    vector_group_->setEnabled(false);
    QFashionDlg::show_values({});
}

QFashionDlg::~QFashionDlg() = default;

QGroupBox* QFashionDlg::make_paint_group() {
    auto* group = new QGroupBox(tr("Paint"));
    paint_grid_ = new QGridLayout(group);
    const auto add_limit = [&](int row, const char* name, const QString& tip,
                               const QString& own_tip, QLabel*& label, NumberEdit*& edit,
                               QLabel*& extreme) {
        label = new QLabel;
        edit = new NumberEdit;
        edit->setObjectName(QLatin1String(name));
        edit->setToolTip(tip);
        label->setBuddy(edit);
        extreme = new QLabel;
        extreme->setObjectName(QStringLiteral("image_") + QLatin1String(name));
        extreme->setToolTip(own_tip);
        paint_grid_->addWidget(label, row, 0);
        paint_grid_->addWidget(edit, row, 1);
        paint_grid_->addWidget(extreme, row, 2);
        connect(edit, &QLineEdit::textChanged, this, &QFashionDlg::read_widgets);
    };
    add_limit(0, "minimum", tr("Enter lower limit"), tr("Minimum image value"), minimum_label_,
              minimum_, image_minimum_);
    add_limit(1, "maximum", tr("Enter upper limit"), tr("Maximum image value"), maximum_label_,
              maximum_, image_maximum_);
    complaint_ = new QLabel;
    complaint_->setObjectName(QStringLiteral("complaint"));
    complaint_->setStyleSheet(QStringLiteral("color: #c62828"));
    complaint_->setWordWrap(true);
    paint_grid_->addWidget(complaint_, 2, 1, 1, 2);

    auto* ways = new QHBoxLayout;
    const auto add_way = [&](const char* name, const QString& text, const QString& tip,
                             const std::function<void()>& choose_them) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setToolTip(tip);
        button->setAutoDefault(false);
        ways->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, choose_them] {
            if (values_.picture) choose_them();
        });
    };
    add_way("extremes", tr("&Extremes"), tr("From the smallest to the largest value"),
            [this] { choose_limits(values_.summary.extremes()); });
    add_way("three_sigma", tr("&Mean %1 3%2").arg(QChar(0xB1)).arg(QChar(0x3C3)),
            tr("Three standard deviations about the mean"),
            [this] { choose_limits(tidy(values_.summary.three_sigma())); });
    add_way("percentiles", tr("Pe&rcentiles"), tr("Without this share of the values at each end"),
            [this] { choose_percentiles(); });
    const auto percent = [&](const char* name, double number) {
        auto* edit = new NumberEdit;
        edit->setObjectName(QLatin1String(name));
        edit->set_range(0, 100);
        edit->set_number(number);
        edit->setToolTip(tr("Percent"));
        edit->setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("100.000")) + 16);
        ways->addWidget(edit);
        return edit;
    };
    low_percent_ = percent("low_percent", 0.5);
    high_percent_ = percent("high_percent", 99.5);
    ways->addWidget(new QLabel(QStringLiteral("%")));
    paint_grid_->addLayout(ways, 3, 0, 1, 3);
    return group;
}

QGroupBox* QFashionDlg::make_palette_group() {
    auto* group = new QGroupBox(tr("Palette"));
    auto* grid = new QGridLayout(group);
    auto* label = new QLabel(tr("Palette:"));
    palettes_ = new PaletteBox;
    palettes_->setObjectName(QStringLiteral("palette"));
    palettes_->setToolTip(tr("Choose Lookup table"));
    label->setBuddy(palettes_);
    auto* add = new QPushButton(tr("&Add Palette"));
    add->setObjectName(QStringLiteral("add_palette"));
    add->setAutoDefault(false);
    inverted_ = new QCheckBox(tr("In&verted"));
    inverted_->setObjectName(QStringLiteral("inverted"));
    inverted_->setToolTip(tr("The last colour for the lower limit"));
    levels_ = new QSpinBox;
    levels_->setObjectName(QStringLiteral("levels"));
    levels_->setRange(0, most_palette_levels);
    levels_->setSpecialValueText(tr("smooth"));
    levels_->setToolTip(tr("So many levels of one colour each between the limits"));
    auto* levels_label = new QLabel(tr("&Levels:"));
    levels_label->setBuddy(levels_);
    grid->addWidget(label, 0, 0);
    grid->addWidget(palettes_, 0, 1);
    grid->addWidget(add, 0, 2);
    grid->addWidget(levels_label, 1, 0);
    grid->addWidget(levels_, 1, 1);
    grid->addWidget(inverted_, 1, 2);
    grid->setColumnStretch(1, 1);
    connect(inverted_, &QCheckBox::toggled, this, &QFashionDlg::read_widgets);
    connect(levels_, QOverload<int>::of(&QSpinBox::valueChanged), this, &QFashionDlg::read_widgets);
    connect(palettes_, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &QFashionDlg::read_widgets);
    connect(add, &QPushButton::clicked, this, &QFashionDlg::add_palette);
    return group;
}

QGroupBox* QFashionDlg::make_iso_group() {
    auto* group = new QGroupBox(tr("Iso-lines"));
    auto* layout = new QVBoxLayout(group);
    iso_ = new IsoForm;
    layout->addWidget(iso_);
    connect(iso_, &IsoForm::style_chosen, this, &QFashionDlg::read_widgets);
    return group;
}

QGroupBox* QFashionDlg::make_vector_group() {
    vector_group_ = new QGroupBox(tr("Vector"));
    auto* layout = new QVBoxLayout(vector_group_);
    vectors_ = new VectorForm;
    layout->addWidget(vectors_);
    connect(vectors_, &VectorForm::style_chosen, this, &QFashionDlg::read_widgets);
    return vector_group_;
}

QWidget* QFashionDlg::make_buttons() {
    auto* buttons = new QWidget;
    auto* layout = new QHBoxLayout(buttons);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addStretch();
    const auto add = [&](const char* name, const QString& text, const QString& tip, auto slot) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setToolTip(tip);
        connect(button, &QPushButton::clicked, this, slot);
        layout->addWidget(button);
        return button;
    };
    add("ok", tr("&OK"), tr("Accept values"), &QFashionDlg::accept)->setDefault(true);
    add("apply", tr("&Apply"), tr("Apply changes to the Image"), &QFashionDlg::apply_pressed);
    add("restore", tr("&Restore"), tr("Restore viewing limits"), &QFashionDlg::restore_limits);
    add("cancel", tr("&Cancel"), tr("Reject values"), &QFashionDlg::reject);
    return buttons;
}

void QFashionDlg::set_limit_labels(const QString& minimum, const QString& maximum) {
    minimum_label_->setText(minimum);
    maximum_label_->setText(maximum);
}

void QFashionDlg::set_picture(const std::shared_ptr<const image>& picture,
                              const std::shared_ptr<const image>& subtracted) {
    vector_group_->setEnabled(picture && picture->displacement);
    preparation_.cancel();
    if (!picture) return show_values({});
    preparation_.start(
        Preparation::when_for(*picture),
        [picture, subtracted](Progress& progress) {
            return values_of(picture, subtracted, progress);
        },
        [this](std::future<PictureValues> values) {
            try {
                show_values(values.get());
            } catch (const std::exception& error) {
                get_log().write(LogLevel::failure, error.what());
                show_values({});
            }
        });
}

void QFashionDlg::hide_iso_lines() {
    iso_->parentWidget()->hide();
}

void QFashionDlg::show_values(const PictureValues& values) {
    values_ = values;
    percentiles_.cancel();
    const ValueSummary& summary = values.summary;
    const auto general = [](double value) {
        return QString::fromStdString(format_general(value, 6));
    };
    image_minimum_->setText(summary.count ? tr("min:%1").arg(general(summary.minimum)) : QString());
    image_maximum_->setText(summary.count ? tr("max:%1").arg(general(summary.maximum)) : QString());
}

void QFashionDlg::choose_percentiles() {
    const double low = low_percent_->number().value_or(0);
    const double high = std::max(low, high_percent_->number().value_or(100));
    percentiles_.start(
        Preparation::when_for(*values_.picture),
        [picture = values_.picture, low, high](Progress& progress) {
            return tidy(percentiles(*picture, low, high, progress));
        },
        [this](std::future<Limits> limits) { choose_limits(limits.get()); });
}

void QFashionDlg::show_fashion(const Fashion& fashion) {
    fashion_ = fashion;
    writing_ = true;
    // A line that already reads as this number is being typed in.
    const auto set = [](NumberEdit& edit, double number) {
        if (edit.number() != number) edit.set_number(number);
    };
    set(*minimum_, fashion.limits.minimum);
    set(*maximum_, fashion.limits.maximum);
    vectors_->show_style(fashion.vectors);
    palettes_->refresh(*fashion.palette);
    inverted_->setChecked(fashion.palette_style.inverted);
    levels_->setValue(fashion.palette_style.levels);
    iso_->show_style(fashion.iso);
    complaint_->setText(QString::fromStdString(complaint_about(fashion.limits)));
    writing_ = false;
}

bool QFashionDlg::sound() const {
    return minimum_->number() && maximum_->number() && complaint_->text().isEmpty() &&
           (vectors_->sound() || !vector_group_->isEnabled());
}

void QFashionDlg::read_widgets() {
    if (writing_) return;
    Fashion read = fashion_;
    read.set_palette(palettes_->chosen());
    read.palette_style = {inverted_->isChecked(), levels_->value()};
    read.iso = iso_->style();
    read.vectors = vectors_->style();
    const auto minimum = minimum_->number();
    const auto maximum = maximum_->number();
    QString complaint;
    if (minimum && maximum) {
        const Limits limits{*minimum, *maximum};
        complaint = QString::fromStdString(complaint_about(limits));
        if (complaint.isEmpty()) read.limits = limits;
    }
    complaint_->setText(complaint);
    fashion_ = read;
    Q_EMIT fashion_chosen(fashion_);
}

void QFashionDlg::choose(const Fashion& fashion) {
    show_fashion(fashion);
    Q_EMIT fashion_chosen(fashion_);
}

void QFashionDlg::choose_limits(const Limits& limits) {
    Fashion changed = fashion_;
    changed.limits = with_room(limits);
    choose(changed);
}

void QFashionDlg::add_palette() {
    const QString file = QFileDialog::getOpenFileName(this, tr("Select LUT file"), QString(),
                                                      tr("LUT file (*.lut)"));
    if (file.isEmpty()) return;
    try {
        get_palette_list().push_back(read_lut(file.toStdString()));
    } catch (const GenericError& error) {
        get_log().write(LogLevel::failure, error.what());
        QMessageBox::warning(this, tr("Palette"), QString::fromStdString(error.what()));
        return;
    }
    Fashion changed = fashion_;
    changed.set_palette(get_palette_list().back());
    choose(changed);
}

void QFashionDlg::apply_pressed() {
    if (sound()) kept_ = fashion_;
}

void QFashionDlg::restore_limits() {
    choose(at_start_);
}

void QFashionDlg::accept() {
    if (!sound()) return;
    kept_ = fashion_;
    QDialog::accept();
}

void QFashionDlg::reject() {
    choose(kept_);
    QDialog::reject();
}

}  // namespace vyn
