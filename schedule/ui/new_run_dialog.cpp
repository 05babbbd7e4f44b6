#include "schedule/ui/new_run_dialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/window_size.h"
#include "schedule/new_schedule.h"

namespace vyn {

namespace {

std::filesystem::path folder_for(const QString& base, const QString& folder) {
    return base.isEmpty() ? std::filesystem::path(folder.toStdString())
                          : std::filesystem::path(base.toStdString()).parent_path();
}

}  // namespace

NewRunDialog::NewRunDialog(const QString& base, QWidget* parent)
    : QDialog(parent),
      base_(base),
      folder_(new QLineEdit(this)),
      patterns_(new QTableWidget(0, 2, this)),
      found_(new QLabel(this)),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this)) {
    setObjectName(QStringLiteral("NewRun"));
    setWindowTitle(tr("New run from pictures"));
    folder_->setObjectName(QStringLiteral("run_folder"));
    folder_->setText(base.isEmpty() ? QString() : QFileInfo(base).absolutePath());
    patterns_->setObjectName(QStringLiteral("run_patterns"));
    patterns_->setHorizontalHeaderLabels({tr("Setting"), tr("Files are named")});
    patterns_->verticalHeader()->hide();
    patterns_->horizontalHeader()->setStretchLastSection(true);
    const char* const proposals[][2] = {{"wind_on_file", "{point}_on.tif"},
                                        {"wind_on_mark_file", ""},
                                        {"wind_off_file", ""},
                                        {"wind_off_mark_file", ""},
                                        {"", ""}};
    for (const auto& [setting, pattern] : proposals) {
        const int row = patterns_->rowCount();
        patterns_->insertRow(row);
        patterns_->setItem(row, 0, new QTableWidgetItem(QLatin1String(setting)));
        patterns_->setItem(row, 1, new QTableWidgetItem(QLatin1String(pattern)));
    }
    patterns_->resizeColumnToContents(0);
    found_->setObjectName(QStringLiteral("run_found"));
    found_->setWordWrap(true);
    auto* browse = new QPushButton(tr("&Choose..."), this);
    auto* folder_label = new QLabel(tr("&Folder:"), this);
    folder_label->setBuddy(folder_);
    auto* explanation = new QLabel(
        tr("Names in braces become columns; files that agree in them are one point's. A pattern "
           "without braces is a file that all points share, an empty one is left out."),
        this);
    explanation->setWordWrap(true);
    auto* grid = new QGridLayout(this);
    grid->addWidget(folder_label, 0, 0);
    grid->addWidget(folder_, 0, 1);
    grid->addWidget(browse, 0, 2);
    grid->addWidget(explanation, 1, 0, 1, 3);
    grid->addWidget(patterns_, 2, 0, 1, 3);
    grid->addWidget(found_, 3, 0, 1, 3);
    grid->addWidget(buttons_, 4, 0, 1, 3);
    grid->setRowStretch(2, 1);
    connect(browse, &QPushButton::clicked, this, &NewRunDialog::choose_folder);
    connect(folder_, &QLineEdit::editingFinished, this, &NewRunDialog::preview);
    connect(patterns_, &QTableWidget::itemChanged, this, &NewRunDialog::preview);
    connect(buttons_, &QDialogButtonBox::accepted, this, &NewRunDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(on_screen({620, 440}));
    preview();
}

void NewRunDialog::choose_folder() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, tr("Folder of the pictures"), folder_->text());
    if (folder.isEmpty()) return;
    folder_->setText(folder);
    preview();
}

std::vector<std::string> NewRunDialog::patterns() const {
    std::vector<std::string> texts;
    for (int row = 0; row < patterns_->rowCount(); ++row) {
        const QString setting = patterns_->item(row, 0)->text().trimmed();
        const QString pattern = patterns_->item(row, 1)->text().trimmed();
        if (!setting.isEmpty() && !pattern.isEmpty())
            texts.push_back((setting + QLatin1Char('=') + pattern).toStdString());
    }
    return texts;
}

void NewRunDialog::preview() {
    QString text;
    bool sound = false;
    if (folder_->text().isEmpty()) {
        text = tr("No folder is chosen.");
    } else {
        try {
            const UnloggedErrors told_here;
            const NewSchedule made = schedule_from_files(folder_->text().toStdString(), patterns(),
                                                         folder_for(base_, folder_->text()));
            text = tr("%n point(s)", nullptr, static_cast<int>(made.table.rows.size()));
            for (std::size_t i = 0; i < made.table.rows.size() && i < 3; ++i)
                text += (i == 0 ? QStringLiteral(": ") : QStringLiteral(", ")) +
                        QString::fromStdString(made.table.rows[i].cells.front());
            if (!made.remarks.empty())
                text +=
                    tr("\n%1 (%n remark(s) in all)", nullptr, static_cast<int>(made.remarks.size()))
                        .arg(QString::fromStdString(made.remarks.front()));
            sound = !made.table.rows.empty();
        } catch (const GenericError& error) {
            text = QString::fromStdString(error.detail.empty() ? error.text : error.detail);
        }
    }
    found_->setText(text);
    buttons_->button(QDialogButtonBox::Ok)->setEnabled(sound);
}

void NewRunDialog::accept() {
    const QString folder = folder_->text();
    const std::string file =
        ask_save_file(this, {tr("Table of the run"), tr("Tables (*.csv);;All files (*)"),
                             QStringLiteral("csv"), folder_for(base_, folder).string()});
    if (file.empty()) return;
    const bool written = attempt(this, windowTitle(), [&] {
        const NewSchedule made =
            schedule_from_files(folder.toStdString(), patterns(), folder_for(base_, folder));
        write_file(file, csv_text(made.table));
    });
    if (!written) return;
    table_ = QString::fromStdString(file);
    QDialog::accept();
}

}  // namespace vyn
