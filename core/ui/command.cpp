#include "core/ui/command.h"

#include <QLineEdit>
#include <QMessageBox>
#include <new>

#include "core/errors.h"
#include "core/log.h"
#include "core/ui/wording.h"

namespace vyn {

namespace {

/// File names in the text are no markup.
void warn(QWidget* parent, const QString& caption, const QString& text) {
    QMessageBox box(QMessageBox::Warning, caption, text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

}  // namespace

QString text_of_exception() {
    try {
        throw;
    } catch (const GenericError& error) {
        return worded(error.what());
    } catch (const std::bad_alloc&) {
        get_log().write(LogLevel::error, "not enough memory");
        return QObject::tr("There is not enough memory for this.");
    } catch (const std::exception& error) {
        get_log().write(LogLevel::error, error.what());
        return QString::fromUtf8(error.what());
    } catch (...) {
        get_log().write(LogLevel::error, "an error of unknown kind");
        return QObject::tr("Something went wrong.");
    }
}

bool attempt(QWidget* parent, const QString& caption, const std::function<void()>& command) {
    QString failure;
    try {
        command();
        return true;
    } catch (...) {
        failure = text_of_exception();
    }
    warn(parent, caption, failure);
    return false;
}

bool run_logged(const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (...) {
        text_of_exception();
        return false;
    }
}

void report_failure(QWidget* parent, const QString& caption, const QString& text) {
    get_log().write(LogLevel::error, text.toStdString());
    warn(parent, caption, text);
}

void finish_editing(const QWidget& window) {
    if (auto* line = qobject_cast<QLineEdit*>(window.focusWidget())) Q_EMIT line->editingFinished();
}

}  // namespace vyn
