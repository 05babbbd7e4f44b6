#include "app/messages.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QWindow>

#include "core/log.h"
#include "core/ui/wording.h"

namespace vyn {

namespace {

QPointer<QWidget>& message_parent() {
    static QPointer<QWidget> window;
    return window;
}

QString caption() {
    return QStringLiteral("VynLite");
}

/// Texts of the libraries are no markup, whatever file names stand in them.
int show(QMessageBox& box) {
    box.setTextFormat(Qt::PlainText);
    // Above the busy box, where one is open.
    if (const QWidget* modal = QApplication::activeModalWidget()) {
        box.winId();
        box.windowHandle()->setTransientParent(modal->windowHandle());
    }
    return box.exec();
}

}  // namespace

void set_message_parent(QWidget* window) {
    message_parent() = window;
}

void show_information(const char* text) {
    QMessageBox box(QMessageBox::Information, caption(), worded(text), QMessageBox::Ok,
                    message_parent());
    show(box);
}

bool ask_question(const char* text) {
    QMessageBox box(QMessageBox::Question, caption(), worded(text),
                    QMessageBox::Yes | QMessageBox::No, message_parent());
    box.setDefaultButton(QMessageBox::Yes);
    box.setEscapeButton(QMessageBox::No);
    return show(box) == QMessageBox::Yes;
}

void report_failure(QWidget* parent, const QString& text) {
    get_log().write(LogLevel::error, text.toStdString());
    QMessageBox box(QMessageBox::Warning, caption(), text, QMessageBox::Ok, parent);
    show(box);
}

}  // namespace vyn
