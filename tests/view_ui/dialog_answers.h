#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <gtest/gtest.h>

namespace vyn::test {

/// Acts on the next modal dialog of this type as soon as it is shown; after five seconds without
/// one the test fails, and whatever waits for the user is closed.
template <class Dialog, class Act>
void when_shown(Act act, int tries = 250) {
    QTimer::singleShot(20, qApp, [act, tries] {
        QWidget* shown = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<Dialog*>(shown)) return act(*dialog);
        if (tries > 0) return when_shown<Dialog>(act, tries - 1);
        ADD_FAILURE() << "the dialog did not come";
        if (shown) shown->close();
    });
}

/// Chooses a file (and a type) in the next file dialog.
inline void choose_file(const QString& file, const QString& type = {}) {
    when_shown<QFileDialog>([file, type](QFileDialog& dialog) {
        if (!type.isEmpty()) dialog.selectNameFilter(type);
        dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(file);
        QMetaObject::invokeMethod(&dialog, "accept");
    });
}

/// Presses a button of the next message box and keeps its text.
inline void answer_box(QMessageBox::StandardButton button, QString* text = nullptr) {
    when_shown<QMessageBox>([button, text](QMessageBox& box) {
        if (text) *text = box.text();
        box.button(button)->click();
    });
}

}  // namespace vyn::test
