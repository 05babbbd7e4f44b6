#include "app/point_check_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "core/atomic_file.h"
#include "core/data_set.h"
#include "core/ui/command.h"
#include "process/project_paths.h"
#include "view/html_report.h"

namespace vyn {

namespace {

constexpr QSize first_size{900, 700};

}  // namespace

PointCheckDialog::PointCheckDialog(std::shared_ptr<const PointReport> report, QWidget* parent)
    : QDialog(parent), html_(html_report(*report)) {
    setObjectName(QStringLiteral("PointCheckDialog"));
    setWindowTitle(tr("Check of the point"));
    auto* const page = new QTextBrowser(this);
    page->setObjectName(QStringLiteral("txt_check"));
    page->setOpenLinks(false);
    page->setHtml(QString::fromStdString(html_));

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* const save = buttons->addButton(tr("&Export..."), QDialogButtonBox::ActionRole);
    save->setObjectName(QStringLiteral("btn_export"));
    save->setToolTip(tr("Write this page as one HTML file with its pictures"));
    connect(save, &QPushButton::clicked, this, &PointCheckDialog::export_page);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(page);
    layout->addWidget(buttons);
    resize(first_size);
}

void PointCheckDialog::export_page() {
    const std::string file =
        ask_save_file(this, {tr("Export the check of the point"), tr("HTML page (*.html *.htm)"),
                             QStringLiteral("html"), output_folder(vyn_db()).string()});
    if (file.empty()) return;
    attempt(this, windowTitle(), [&] { write_file(file, html_); });
}

void show_point_check(QBusyBox& busy_box, std::shared_ptr<const RunReport> report,
                      QWidget* parent) {
    auto task = std::make_unique<PointReportTask>(std::move(report));
    const std::shared_ptr<const PointReport> result = task->result();
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (busy_box.run(job) != TaskOutcome::done) return;
    PointCheckDialog(result, parent).exec();
}

}  // namespace vyn
