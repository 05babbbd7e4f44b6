#include "calib/ui/paint_fit/paint_fit_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>

#include "calib/ui/paint_fit/paint_fit_plot.h"
#include "calib/units.h"
#include "core/errors.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/form_grid.h"
#include "core/ui/icons.h"
#include "core/ui/window_size.h"

namespace vyn {

namespace {

QSpinBox* order_box(const char* name, int low) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setRange(low, 2);
    box->setValue(2);
    return box;
}

QComboBox* unit_box(const char* name, std::vector<std::string> units,
                    std::initializer_list<const char*> more, const char* first) {
    auto* box = new QComboBox;
    box->setObjectName(QLatin1String(name));
    units.insert(units.end(), more.begin(), more.end());
    for (const std::string& unit : units)
        box->addItem(QString::fromStdString(unit));
    box->setCurrentText(QLatin1String(first));
    box->setToolTip(QObject::tr("Where the table does not name it"));
    return box;
}

}  // namespace

PaintFitDialog::PaintFitDialog(std::string folder, QWidget* parent)
    : QDialog(parent),
      folder_(std::move(folder)),
      file_(new QLineEdit),
      ratio_order_(order_box("ratio_order", 1)),
      temperature_order_(order_box("temperature_order", 0)),
      pressure_unit_(unit_box("pressure_unit", pressure_unit_names(), {"kpa", "hpa"}, "pa")),
      temperature_unit_(unit_box("temperature_unit", temperature_unit_names(), {}, "c")),
      words_(new QLabel),
      law_plot_(new PaintFitPlot(PaintFitPlot::Shows::law)),
      residual_plot_(new PaintFitPlot(PaintFitPlot::Shows::residuals)) {
    setObjectName(QStringLiteral("PaintFitDialog"));
    setWindowTitle(tr("Paint law from a calibration cell"));
    auto* columns = new QHBoxLayout;
    columns->addLayout(question(), 2);
    columns->addLayout(answer(), 3);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns, 1);
    layout->addLayout(buttons());
    connect(file_, &QLineEdit::editingFinished, this, [this] {
        if (!file_->isModified()) return;
        file_->setModified(false);
        refresh();
    });
    for (QSpinBox* box : {ratio_order_, temperature_order_})
        connect(box, qOverload<int>(&QSpinBox::valueChanged), this, &PaintFitDialog::refresh);
    for (QComboBox* box : {pressure_unit_, temperature_unit_})
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this,
                &PaintFitDialog::refresh);
    show_result({});
    resize(on_screen({1000, 680}));
}

QLayout* PaintFitDialog::question() {
    file_->setObjectName(QStringLiteral("table_file"));
    auto* choose = new QToolButton;
    choose->setObjectName(QStringLiteral("choose_btn"));
    choose->setIcon(vyn_icon(QStringLiteral("fileopen.png")));
    choose->setToolTip(tr("Choose the table of pressures, temperatures and ratios"));
    connect(choose, &QToolButton::clicked, this, &PaintFitDialog::choose_table);
    auto* group = new QGroupBox(tr("Table"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&File:"), file_, choose);
    rows->add_row(tr("Unit of &pressures:"), pressure_unit_);
    rows->add_row(tr("Unit of &temperatures:"), temperature_unit_);
    auto* law = new QGroupBox(tr("Law"));
    auto* orders = new FormGrid(law);
    orders->add_row(tr("Highest power of the &ratio:"), ratio_order_);
    orders->add_row(tr("Highest power of the t&emperature:"), temperature_order_);
    words_->setObjectName(QStringLiteral("words"));
    words_->setWordWrap(true);
    words_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    words_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    auto* column = new QVBoxLayout;
    column->addWidget(group);
    column->addWidget(law);
    column->addWidget(words_, 1);
    return column;
}

QLayout* PaintFitDialog::answer() {
    auto* column = new QVBoxLayout;
    column->addWidget(law_plot_, 3);
    column->addWidget(residual_plot_, 2);
    return column;
}

QLayout* PaintFitDialog::buttons() {
    const auto button = [](const QString& text, const char* name, const QString& tip) {
        auto* made = new QPushButton(text);
        made->setObjectName(QLatin1String(name));
        made->setToolTip(tip);
        made->setAutoDefault(false);
        return made;
    };
    save_ = button(tr("&Save..."), "save_btn",
                   tr("Write the law with its covariance to a paint calibration file"));
    save_->setIcon(vyn_icon(QStringLiteral("filesave.png")));
    connect(save_, &QPushButton::clicked, this, &PaintFitDialog::save);
    accept_ = button(tr("&Accept"), "accept_btn", tr("Take the law over into the paint dialog"));
    connect(accept_, &QPushButton::clicked, this, &QDialog::accept);
    auto* close = button(tr("Close"), "close_btn", tr("Keep the paint as it was"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton* made : {save_, accept_, close})
        row->addWidget(made);
    return row;
}

void PaintFitDialog::choose_table() {
    const std::string file = ask_open_file(
        this, {windowTitle(), tr("Tables (*.csv *.txt *.dat);;All files (*)"), {}, folder_});
    if (file.empty()) return;
    file_->setText(QString::fromStdString(file));
    refresh();
}

void PaintFitDialog::refresh() {
    table_.reset();
    fit_.reset();
    QString problem;
    if (!file_->text().isEmpty()) try {
            table_ = read_paint_table(file_->text().toStdString(),
                                      {pressure_unit_->currentText().toStdString(),
                                       temperature_unit_->currentText().toStdString()});
            fit_ = fit_paint(*table_, {ratio_order_->value(), temperature_order_->value()});
        } catch (...) {
            problem = text_of_exception();
        }
    show_result(problem);
}

void PaintFitDialog::show_result(const QString& problem) {
    const PaintTable* table = fit_ ? &*table_ : nullptr;
    law_plot_->show_fit(table, fit());
    residual_plot_->show_fit(table, fit());
    save_->setEnabled(fit_.has_value());
    accept_->setEnabled(fit_.has_value());
    if (!fit_) {
        words_->setText(problem.isEmpty()
                            ? tr("Choose a table with pressure, temperature and ratio in columns.")
                            : problem);
        return;
    }
    // Columns by blanks, as on a console.
    QString text = QStringLiteral("<pre style='white-space: pre-wrap'>");
    for (const std::string& line : report_lines(*table_, *fit_))
        text += QString::fromStdString(line).toHtmlEscaped() + QLatin1Char('\n');
    words_->setText(text + QStringLiteral("</pre>"));
}

void PaintFitDialog::save() {
    const std::string file = ask_save_file(
        this, {tr("Vyn Paint Calibration"), tr("Paint calibration (*.clb);;All files (*)"),
               QStringLiteral("clb"), folder_});
    if (file.empty()) return;
    attempt(this, windowTitle(), [&] { write_paint_calibration(file, fit_->paint); });
}

}  // namespace vyn
