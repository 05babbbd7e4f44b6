#include "calib/ui/calibration_results.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTextEdit>
#include <cmath>

#include "api/image_list.h"
#include "calib/ui/calibration_plot.h"
#include "calib/ui/port_table.h"
#include "calib/ui/residual_plot.h"
#include "calib/units.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/icons.h"
#include "core/ui/wording.h"
#include "process/point/project_paths.h"
#include "process/report/calibration_report.h"

namespace vyn {

namespace {

constexpr const char* unity = "unity";
constexpr const char* by_law = "law";

QString number(double value) {
    return QString::fromStdString(format_general(value, 7));
}

/// A difference or an error.
QString error_text(double value) {
    return QString::fromStdString(format_general(value, 3));
}

QString summary_of(const InSituCalibration& calibration) {
    const InSituFit& fit = calibration.fit;
    if (calibration.hybrid)
        return QObject::tr(
                   "<center><b>%1</b><br>deviation=%2<br>maximum error at marker N %3"
                   "<br> Save results?</center>")
            .arg(QString::fromStdString(constants_text(*calibration.hybrid)), number(fit.deviation))
            .arg(calibration.samples.points[fit.worst].number);
    return QStringLiteral(
               "<center>gamma11=<b>%1</b> gamma21=<b>%2</b> gamma31=<b>%3</b>"
               "<br>deviation=%4<br>maximum error at marker N %5"
               "<br> Save results?</center>")
        .arg(number(fit.coefficients[0]), number(fit.coefficients[1]), number(fit.coefficients[2]),
             number(fit.deviation))
        .arg(calibration.samples.points[fit.worst].number);
}

QString hint_of(const PortSelection& selection, std::size_t index) {
    const CalibrationPoint& point = selection.points()[index];
    QString hint = QObject::tr("Port %1: Io/I = %2, P = %3\nResidual %4")
                       .arg(point.number)
                       .arg(number(point.ratio), number(point.pressure),
                            error_text(selection.residual(index)));
    if (const double error = selection.leave_one_out(index); std::isfinite(error))
        hint += QObject::tr(", leave-one-out %1").arg(error_text(error));
    return hint + (selection.is_used(index) ? QObject::tr("\nClick to take it out of the fit")
                                            : QObject::tr("\nClick to put it back"));
}

}  // namespace

struct VynCalResults::Parts {
    explicit Parts(dataSetInterface& program_settings) : settings(program_settings) {}

    dataSetInterface& settings;
    std::string port_file;
    std::optional<PortSelection> selection;
    QString plot_problem;

    CalibrationPlot* plot = new CalibrationPlot;
    ResidualPlot* residuals = new ResidualPlot;
    PortTable* table = new PortTable;
    QLabel* summary = new QLabel;
    QTextEdit* meaning = new QTextEdit;
    QCheckBox* band = new QCheckBox(tr("Confidence &band"));
    QCheckBox* leave_one_out = new QCheckBox(tr("&Leave-one-out residuals"));
    QCheckBox* unity_box =
        new QCheckBox(tr("Compute the &field with fa = 1 (wind_off_ratio = unity)"));

    /// Reports to the log, and below the plot.
    void report(const char* text) {
        get_log().write(LogLevel::error, text);
        plot_problem = QLatin1String(text);
    }
};

VynCalResults::VynCalResults(dataSetInterface& settings, QWidget* parent)
    : QDialog(parent), parts_(std::make_unique<Parts>(settings)) {
    setWindowTitle(tr("In-Situ Calibration results"));
    parts_->summary->setObjectName(QStringLiteral("summary"));
    parts_->summary->setTextFormat(Qt::RichText);
    parts_->summary->setTextInteractionFlags(Qt::TextSelectableByMouse);
    parts_->meaning->setObjectName(QStringLiteral("meaning"));
    parts_->meaning->setReadOnly(true);
    parts_->meaning->setTabChangesFocus(true);
    parts_->meaning->setMinimumHeight(7 * fontMetrics().lineSpacing());
    parts_->residuals->hide();

    auto* plots = new QVBoxLayout;
    plots->addWidget(parts_->plot, 3);
    plots->addWidget(parts_->residuals, 2);
    plots->addLayout(options());
    auto* words = new QVBoxLayout;
    words->addWidget(parts_->table, 2);
    words->addWidget(parts_->meaning, 1);
    words->addWidget(parts_->unity_box);
    auto* columns = new QHBoxLayout;
    columns->addLayout(plots, 3);
    columns->addLayout(words, 2);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns, 1);
    layout->addWidget(parts_->summary);
    layout->addLayout(buttons());

    connect(parts_->plot, &CalibrationPlot::point_clicked, this, &VynCalResults::toggle);
    connect(parts_->table, &PortTable::port_toggled, this, &VynCalResults::toggle);
    parts_->unity_box->setObjectName(QStringLiteral("unity"));
    parts_->unity_box->setToolTip(tr("Right for a law that is fitted to the ratio of this image"));
    parts_->unity_box->setChecked(true);
    connect(parts_->unity_box, &QCheckBox::toggled, this, &VynCalResults::show_meaning);
}

VynCalResults::~VynCalResults() = default;

QLayout* VynCalResults::options() {
    parts_->band->setObjectName(QStringLiteral("band"));
    parts_->leave_one_out->setObjectName(QStringLiteral("leave_one_out"));
    connect(parts_->band, &QCheckBox::toggled, this, &VynCalResults::show_plot);
    connect(parts_->leave_one_out, &QCheckBox::toggled, parts_->residuals, &QWidget::setVisible);
    auto* row = new QHBoxLayout;
    row->addWidget(parts_->band);
    row->addWidget(parts_->leave_one_out);
    row->addStretch();
    return row;
}

QLayout* VynCalResults::buttons() {
    auto* row = new QHBoxLayout;
    row->addStretch();
    const auto add = [&](const QString& text, const char* name, auto slot) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        row->addWidget(button);
        return button;
    };
    QPushButton* save_btn = add(tr("&Save"), "save_btn", &VynCalResults::save);
    save_btn->setIcon(vyn_icon(QStringLiteral("filesave.png")));
    save_btn->setToolTip(tr("Save Calibration information into CVS file"));
    QPushButton* accept_btn = add(tr("&Accept"), "accept_btn", &VynCalResults::accept);
    add(tr("&Reject"), "reject_btn", &VynCalResults::reject);
    parts_->table->setFocus();
    accept_btn->setDefault(true);
    return row;
}

bool VynCalResults::set_data(const std::vector<double>& ratios,
                             const std::vector<double>& pressures, const std::vector<int>& numbers,
                             const gauss_approximation::Vector& coefficients) {
    parts_->plot_problem.clear();
    if (ratios.size() != pressures.size() || ratios.size() != numbers.size()) {
        parts_->report("VynCalResult:different pts and data sizes!");
        return false;
    }
    std::vector<CalibrationPoint> points;
    std::vector<bool> used;
    QStringList hints;
    for (std::size_t i = 0; i < ratios.size(); ++i) {
        points.push_back({ratios[i], pressures[i], numbers[i]});
        used.push_back(!parts_->selection || parts_->selection->is_used(i));
        if (parts_->selection) hints << hint_of(*parts_->selection, i);
    }
    parts_->plot->show_points(points, used, hints);
    const auto curve = fitted_curve(points, coefficients);
    if (!curve) parts_->report("VynCalResult:curve fitting incomplete!");
    parts_->plot->show_curve(curve);
    return true;
}

void VynCalResults::show_calibration(std::string port_file, PortSelection selection) {
    parts_->port_file = std::move(port_file);
    parts_->selection = std::move(selection);
    // A corrected law holds the wind-off ratio.
    if (calibration().hybrid) {
        parts_->unity_box->setChecked(true);
        parts_->unity_box->setEnabled(false);
    }
    refresh();
}

const InSituCalibration& VynCalResults::calibration() const {
    return parts_->selection->calibration();
}

std::string VynCalResults::wind_off_ratio() const {
    return parts_->unity_box->isChecked() ? unity : by_law;
}

void VynCalResults::toggle(int index) {
    const std::string refused = parts_->selection->toggle(static_cast<std::size_t>(index));
    refresh();
    if (!refused.empty())
        QMessageBox::warning(this, tr("Calibration"), QString::fromStdString(refused));
}

void VynCalResults::refresh() {
    parts_->summary->setText(summary_of(parts_->selection->calibration()));
    parts_->table->show_ports(*parts_->selection);
    parts_->residuals->show_residuals(*parts_->selection);
    show_plot();
    show_meaning();
}

void VynCalResults::show_plot() {
    std::vector<double> ratios;
    std::vector<double> pressures;
    std::vector<int> numbers;
    for (const CalibrationPoint& point : parts_->selection->points()) {
        ratios.push_back(point.ratio);
        pressures.push_back(point.pressure);
        numbers.push_back(point.number);
    }
    const InSituFit& fit = parts_->selection->calibration().fit;
    set_data(ratios, pressures, numbers, fit.coefficients);
    parts_->plot->show_band(parts_->band->isChecked() ? &fit : nullptr);
}

void VynCalResults::show_meaning() {
    const UnitMessagesOff preview;
    simpleNamedDataSet wanted;
    copy_content(parts_->settings, wanted);
    write(wanted, keys::convert_wind_off_ratio, wind_off_ratio());
    const CalibrationReport report =
        report_calibration(wanted, get_images(), parts_->port_file, parts_->selection->options(),
                           parts_->selection->calibration());
    const auto escaped = [](const std::string& text) {
        return QString::fromStdString(text).toHtmlEscaped();
    };
    const bool fixed = report.rule == WindOffRule::unity;
    QString html = tr("<p><b>fa = %1</b> %2<br>Pressure unit %3, enters the law as <b>%4</b></p>")
                       .arg(number(fixed ? 1 : report.conversion.conversion.wind_off_ratio),
                            fixed ? tr("(unity)") : tr("(by the law)"),
                            escaped(report.calibration.paint.pressure_unit),
                            escaped(report.conversion.paint.pressure_unit));
    if (!parts_->plot_problem.isEmpty())
        html += QStringLiteral("<p>%1</p>").arg(parts_->plot_problem.toHtmlEscaped());
    for (const std::string& remark : report.remarks)
        html += QStringLiteral("<p>%1.</p>").arg(worded(remark).toHtmlEscaped());
    parts_->meaning->setHtml(html);
}

void VynCalResults::save() {
    const std::string file =
        ask_save_file(this, {tr("Save"), tr("Comma Separated (*.csv)"), QStringLiteral("csv"),
                             output_folder(parts_->settings).string()});
    if (file.empty()) return;
    attempt(this, tr("Calibration"), [&] {
        write_file(file, results_file(parts_->selection->calibration().samples.points));
    });
}

}  // namespace vyn
