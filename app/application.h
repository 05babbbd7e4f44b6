#pragma once

#include <QApplication>
#include <exception>

namespace vyn {

/// The program's application object. An error that leaves an event handler cannot pass through the
/// toolkit's event loop: it ends the loop and leaves `run`.
class Application : public QApplication {
    Q_OBJECT
  public:
    /// Sets high-DPI drawing, names, and numbers without the user's decimal comma.
    Application(int& argc, char** argv);

    /// Runs the event loop. The signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) end it.
    int run();
    bool notify(QObject* receiver, QEvent* event) override;

  private:
    std::exception_ptr error_;
};

}  // namespace vyn
