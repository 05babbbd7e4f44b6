#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace vyn {

/// Runs a command of the user; a failure is shown in a warning box, its line having gone to the log
/// where it was raised. True when the command went well.
bool attempt(QWidget* parent, const QString& caption, const std::function<void()>& command);

/// A failure that no error stands for: a log line and a warning box.
void report_failure(QWidget* parent, const QString& caption, const QString& text);

/// What is typed in a line of the window counts from now on, as if the line had lost the keyboard:
/// neither a key nor a tool button that starts a command takes it from the line.
void finish_editing(const QWidget& window);

/// Runs work whose errors nobody else would catch, in a thread pool, say: they go to the log. True
/// when there was none.
bool run_logged(const std::function<void()>& work);

/// What to tell the user of the exception that is being handled; errors that do not stand in the
/// log yet are written there.
QString text_of_exception();

}  // namespace vyn
