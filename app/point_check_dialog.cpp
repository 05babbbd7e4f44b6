#include "app/point_check_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "api/image_list.h"
#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/data_set.h"
#include "core/errors.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/window_size.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "process/report/html_document.h"
#include "process/report/report_document.h"

namespace vyn {

namespace {

constexpr QSize first_size{900, 700};

/// Ports in pixels of the field. Raises FileError naming the file and what is wrong.
MarkerSet read_ports(const std::string& file) {
    const auto field = get_images().find(image_names::field);
    return read_port_file(file, field ? field->height() : 0);
}

}  // namespace

PointCheckDialog::PointCheckDialog(QBusyBox& busy_box, std::shared_ptr<const RunReport> report,
                                   QWidget* parent)
    : QDialog(parent),
      busy_box_(busy_box),
      report_(std::move(report)),
      page_(new QTextBrowser(this)) {
    setObjectName(QStringLiteral("PointCheckDialog"));
    setWindowTitle(tr("Check of the point"));
    page_->setObjectName(QStringLiteral("txt_check"));
    page_->setOpenLinks(false);

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    const auto add_button = [&](const QString& text, const char* name, const QString& tip) {
        QPushButton* const button = buttons->addButton(text, QDialogButtonBox::ActionRole);
        button->setObjectName(QLatin1String(name));
        button->setToolTip(tip);
        return button;
    };
    connect(add_button(tr("&Ports..."), "btn_ports",
                       tr("Compare the field with the pressures of a marker file, in the unit of "
                          "the test conditions")),
            &QPushButton::clicked, this, &PointCheckDialog::select_ports);
    connect(add_button(
                tr("&Export..."), "btn_export",
                tr("Write this page as one HTML file with its pictures, or as a document (PDF)")),
            &QPushButton::clicked, this, &PointCheckDialog::export_page);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(page_);
    layout->addWidget(buttons);
    resize(on_screen(first_size));
}

bool PointCheckDialog::look(const MarkerSet& ports) {
    auto task = std::make_unique<PointReportTask>(program_session(), report_, ports);
    const std::shared_ptr<const PointReport> result = task->result();
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (busy_box_.run(job) != TaskOutcome::done) return false;
    check_ = report_document(*result);
    page_->setHtml(QString::fromStdString(html_of(check_)));
    return true;
}

void PointCheckDialog::select_ports() {
    const std::string file =
        ask_open_file(this, {tr("Pressure ports"), tr("Markers (*.mrk *.mpt *.inm);;All files (*)"),
                             QStringLiteral("mrk"), project_folder(vyn_db()).string()});
    if (file.empty()) return;
    attempt(this, windowTitle(), [&] { look(read_ports(file)); });
}

void PointCheckDialog::export_page() {
    const std::string file =
        ask_save_file(this, {tr("Export the check of the point"),
                             tr("HTML page (*.html *.htm);;PDF document (*.pdf)"),
                             QStringLiteral("html"),
                             output_folder(vyn_db()).string(),
                             {},
                             purpose_in_project(vyn_db(), "check")});
    if (file.empty()) return;
    attempt(this, windowTitle(), [&] {
        write_file(file, lower_extension(file) == "pdf" ? pdf_of(check_) : html_of(check_));
    });
}

void show_point_check(QBusyBox& busy_box, std::shared_ptr<const RunReport> report,
                      QWidget* parent) {
    PointCheckDialog dialog(busy_box, std::move(report), parent);
    if (dialog.look()) dialog.exec();
}

}  // namespace vyn
