#include "calib/ui/paint_dialog.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include "calib/ui/conditions_panel.h"
#include "calib/ui/paint_calibration_dialog.h"
#include "calib/ui/paint_fit/paint_fit_dialog.h"
#include "calib/ui/paint_plot.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/icons.h"
#include "process/point/project_paths.h"
#include "process/project/new_project.h"

namespace vyn {

namespace {

const std::string tree(keys::sens_paint);

QString file_caption() {
    return QObject::tr("Vyn Paint Calibration");
}

QString file_filter() {
    return QObject::tr("Paint calibration (*.clb);;All files (*)");
}

QString number(double value) {
    return QString::fromStdString(format_general(value, 7));
}

QString matrix_html(const paintFeatures& paint) {
    QString html = QStringLiteral(
        "<table><tr><td></td><td align=right>1</td>"
        "<td align=right>&nbsp;&nbsp;&nbsp;T</td>"
        "<td align=right>&nbsp;&nbsp;&nbsp;T²</td></tr>");
    constexpr const char* powers[] = {"1", "R", "R²"};
    static_assert(std::size(powers) == std::tuple_size_v<decltype(paint.gamma)>);
    for (std::size_t row = 0; row < std::size(powers); ++row) {
        html += QStringLiteral("<tr><td>%1</td>").arg(QString::fromUtf8(powers[row]));
        for (const double coefficient : paint.gamma[row])
            html += QStringLiteral("<td align=right>&nbsp;&nbsp;&nbsp;<b>%1</b></td>")
                        .arg(number(coefficient));
        html += QStringLiteral("</tr>");
    }
    return html + QStringLiteral("</table>");
}

QString summary_html(const paintFeatures& paint) {
    const QString p_unit = QString::fromStdString(paint.pressure_unit).toHtmlEscaped();
    const QString t_unit = QString::fromStdString(paint.temperature_unit).toHtmlEscaped();
    return QObject::tr("Coefficients of the law P(R, T):") + matrix_html(paint) +
           QObject::tr(
               "<p>Pressures %1 to %2 %3<br>Temperatures %4 to %5 %6<br>Normalized at "
               "%7 %3 and %8 %6<br>%9</p>")
               .arg(number(paint.minimal_pressure), number(paint.maximal_pressure), p_unit,
                    number(paint.minimal_temperature), number(paint.maximal_temperature), t_unit,
                    number(paint.normalizing_pressure), number(paint.normalizing_temperature),
                    paint.covariance ? QObject::tr("Covariance of the coefficients: known")
                                     : QObject::tr("Covariance of the coefficients: not known"));
}

}  // namespace

QVynPaint::QVynPaint(dataSetInterface& settings, QWidget* parent)
    : QDialog(parent),
      settings_(settings),
      summary_(new QLabel),
      plot_(new PaintPlot),
      conditions_(new ConditionsPanel) {
    setWindowTitle(tr("Vyn Paint"));
    summary_->setObjectName(QStringLiteral("summary"));
    summary_->setTextFormat(Qt::RichText);
    summary_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    summary_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* record_row = new QHBoxLayout;
    record_row->addWidget(summary_);
    record_row->addWidget(plot_, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(record_row, 1);
    layout->addWidget(conditions_);
    layout->addLayout(buttons());

    copy_content(settings, draft_);
    show_draft();
}

QLayout* QVynPaint::buttons() {
    auto* row = new QHBoxLayout;
    const auto add = [&](const QString& text, const char* icon, const char* name,
                         void (QVynPaint::*command)()) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        if (icon) button->setIcon(vyn_icon(QLatin1String(icon)));
        connect(button, &QPushButton::clicked, this, command);
        row->addWidget(button);
    };
    add(tr("&Open..."), "fileopen.png", "open_btn", &QVynPaint::open_paint);
    add(tr("&Save..."), "filesave.png", "save_btn", &QVynPaint::save_paint);
    add(tr("Ca&libration..."), nullptr, "calibration_btn", &QVynPaint::edit_calibration);
    add(tr("&From a table..."), nullptr, "fit_btn", &QVynPaint::fit_table);
    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    box->button(QDialogButtonBox::Ok)->setText(tr("O&K"));
    box->button(QDialogButtonBox::Cancel)->setText(tr("&Cancel"));
    connect(box, &QDialogButtonBox::accepted, this, &QVynPaint::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QVynPaint::reject);
    row->addStretch();
    row->addWidget(box);
    return row;
}

void QVynPaint::accept() {
    const paintFeatures paint = record();
    write(settings_, tree, paint);
    const std::string rule = read(draft_, keys::convert_wind_off_ratio);
    if (rule != read(settings_, keys::convert_wind_off_ratio))
        write(settings_, keys::convert_wind_off_ratio, rule);
    if (read(draft_, keys::uncertainty_at_ports) != read(settings_, keys::uncertainty_at_ports))
        write(settings_, keys::uncertainty_at_ports, 0);
    take_units_of_paint(settings_, paint);
    QDialog::accept();
}

paintFeatures QVynPaint::record() {
    paintFeatures paint;
    read(draft_, tree, paint);
    return paint;
}

void QVynPaint::show_draft() {
    const paintFeatures paint = record();
    summary_->setText(summary_html(paint));
    plot_->show_paint(paint);
    conditions_->show_conditions(draft_);
}

void QVynPaint::open_paint() {
    const std::string file =
        ask_open_file(this, {file_caption(), file_filter(), {}, output_folder(settings_).string()});
    if (!file.empty()) open_file(file);
}

bool QVynPaint::open_file(const std::string& file) {
    const QString name = QString::fromStdString(file);
    bool shown = false;
    attempt(this, file_caption(), [&] {
        paintFeatures paint = record();
        std::string problem;
        switch (read_paint_calibration(file, paint, &problem)) {
            case RecordOutcome::no_path:
            case RecordOutcome::done:
                take_law(paint);
                shown = true;
                if (!problem.empty())
                    QMessageBox::warning(this, file_caption(), QString::fromStdString(problem));
                break;
            case RecordOutcome::unknown_version:
                report_failure(this, file_caption(), tr("%1: Unknown file version").arg(name));
                break;
            case RecordOutcome::no_record:
                report_failure(this, file_caption(), tr("%1 holds no paint.").arg(name));
                break;
        }
    });
    return shown;
}

void QVynPaint::ask_for_law() {
    if (read(draft_, keys::convert_wind_off_ratio) != "unity") return;
    if (QMessageBox::question(
            this, windowTitle(),
            tr("The project takes the wind-off ratio fa as 1, as for a law fitted to its pressure "
               "ports.\nTake it from the law of this paint?")) == QMessageBox::Yes)
        write(draft_, keys::convert_wind_off_ratio, std::string("law"));
}

void QVynPaint::save_paint() {
    const std::string file = ask_save_file(
        this,
        {file_caption(), file_filter(), QStringLiteral("clb"), output_folder(settings_).string()});
    if (file.empty()) return;
    attempt(this, file_caption(), [&] { write_paint_calibration(file, record()); });
}

void QVynPaint::fit_table() {
    PaintFitDialog dialog(output_folder(settings_).string(), this);
    if (dialog.exec() == QDialog::Accepted && dialog.fit()) take_law(dialog.fit()->paint);
}

void QVynPaint::take_law(const paintFeatures& paint) {
    write(draft_, tree, paint);
    write(draft_, keys::uncertainty_at_ports, 0);
    ask_for_law();
    show_draft();
}

void QVynPaint::edit_calibration() {
    QVynPaintCalibration(draft_, this).exec();
    show_draft();
}

}  // namespace vyn
