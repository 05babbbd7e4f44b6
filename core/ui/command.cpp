#include "core/ui/command.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>

#include "core/errors.h"
#include "core/log.h"

namespace vyn {

namespace {

std::string ask(QFileDialog& dialog, const FileQuestion& question) {
    dialog.setWindowTitle(question.caption);
    dialog.setNameFilters(question.filter.split(QStringLiteral(";;")));
    dialog.setDefaultSuffix(question.suffix);
    dialog.setDirectory(QString::fromStdString(question.folder));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().constFirst().toStdString();
}

}  // namespace

bool attempt(QWidget* parent, const QString& caption, const std::function<void()>& command) {
    QString failure;
    try {
        command();
        return true;
    } catch (const GenericError& error) {
        failure = QString::fromUtf8(error.what());
    } catch (const std::exception& error) {
        get_log().write(LogLevel::error, error.what());
        failure = QString::fromUtf8(error.what());
    }
    QMessageBox::warning(parent, caption, failure);
    return false;
}

void report_failure(QWidget* parent, const QString& caption, const QString& text) {
    get_log().write(LogLevel::error, text.toStdString());
    QMessageBox::warning(parent, caption, text);
}

void finish_editing(const QWidget& window) {
    if (auto* line = qobject_cast<QLineEdit*>(window.focusWidget())) Q_EMIT line->editingFinished();
}

std::string ask_open_file(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return ask(dialog, question);
}

std::string ask_save_file(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    return ask(dialog, question);
}

}  // namespace vyn
