#include "core/ui/file_question.h"

#include <QFileDialog>
#include <filesystem>

namespace vyn {

namespace {

/// "csv" of "Table (*.csv *.txt)"; empty where the filter names no extension.
QString suffix_of(const QString& filter) {
    return filter.section(QStringLiteral("(*."), 1)
        .section(QLatin1Char(')'), 0, 0)
        .section(QLatin1Char(' '), 0, 0);
}

QStringList ask(QFileDialog& dialog, const FileQuestion& question) {
    const QStringList filters = question.filter.split(QStringLiteral(";;"));
    dialog.setWindowTitle(question.caption);
    dialog.setNameFilters(filters);
    dialog.setDirectory(QString::fromStdString(question.folder));
    dialog.setDefaultSuffix(question.suffix);
    const auto choose_filter = [&](const QString& suffix) {
        for (const QString& filter : filters)
            if (!suffix.isEmpty() && suffix_of(filter) == suffix) {
                dialog.selectNameFilter(filter);
                dialog.setDefaultSuffix(suffix);
            }
    };
    choose_filter(question.suffix);
    if (!question.name.isEmpty()) dialog.selectFile(question.name);
    const std::filesystem::path last =
        question.purpose.what.empty() ? std::filesystem::path() : remembered_file(question.purpose);
    if (!last.empty()) {
        dialog.setDirectory(QString::fromStdString(last.parent_path().string()));
        const QString name = QString::fromStdString(last.filename().string());
        if (!name.isEmpty()) dialog.selectFile(name);
        choose_filter(name.section(QLatin1Char('.'), -1));
    }
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& filter) {
        if (const QString suffix = suffix_of(filter); !suffix.isEmpty())
            dialog.setDefaultSuffix(suffix);
    });
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles() : QStringList();
}

std::string first_of(const QStringList& files) {
    return files.value(0).toStdString();
}

}  // namespace

std::string ask_open_file(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return first_of(ask(dialog, question));
}

std::vector<std::string> ask_open_files(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFiles);
    std::vector<std::string> files;
    for (const QString& file : ask(dialog, question))
        files.push_back(file.toStdString());
    return files;
}

std::string ask_save_file(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    std::string file = first_of(ask(dialog, question));
    if (!file.empty() && !question.purpose.what.empty()) remember_file(question.purpose, file);
    return file;
}

}  // namespace vyn
