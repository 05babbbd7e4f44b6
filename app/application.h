#pragma once

#include <QApplication>
#include <exception>
#include <functional>

namespace vyn {

/// The program's application object. An error that leaves an event handler cannot pass through the
/// toolkit's event loop: while the window is open it is shown and logged, and the program goes on.
/// Before that it ends the loop and leaves `run`.
class Application : public QApplication {
    Q_OBJECT
  public:
    /// Sets high-DPI drawing, names, the words of messages, and numbers without the user's decimal
    /// comma.
    Application(int& argc, char** argv);
    ~Application() override;

    /// Runs the event loop. The signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) end it.
    int run();
    bool notify(QObject* receiver, QEvent* event) override;

    /// What F1 pressed in a window or dialog does, where no menu of that window has it.
    void set_help(std::function<void(QWidget&)> help) { help_ = std::move(help); }
    /// From now on errors do not end the program.
    void go_on_after_errors() { goes_on_ = true; }

  private:
    void show_error(const QString& text);

    /// Before the event reaches its receiver; true: it is dealt with.
    bool prepare(QObject* receiver, QEvent* event);

    std::function<void(QWidget&)> help_;
    std::exception_ptr error_;
    bool goes_on_ = false;
    bool showing_ = false;  ///< one error at a time: drawing may fail again and again
};

}  // namespace vyn
