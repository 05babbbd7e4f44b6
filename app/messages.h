#pragma once

#include <QString>
#include <QWidget>

namespace vyn {

/// The window that message boxes belong to; null before it exists and after it is gone.
void set_message_parent(QWidget* window);

/// The message functions of the window, for set_custom_message_fun.
void show_information(const char* text);
/// True exactly when Yes was pressed.
bool ask_question(const char* text);

/// A user command's failure: an error line in the log and a warning box.
void report_failure(QWidget* parent, const QString& text);

}  // namespace vyn
