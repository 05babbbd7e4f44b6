#include "app/application.h"

#include <QDialog>
#include <QKeyEvent>
#include <QLocale>
#include <QMessageBox>
#include <QSettings>
#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <clocale>
#include <csignal>
#include <utility>

#include <unistd.h>

#include "core/ui/command.h"
#include "core/ui/icons.h"
#include "core/ui/window_size.h"
#include "core/ui/wording.h"
#include "core/version.h"
#include "process/page/user_words.h"
#include "process/point/experiment_type.h"

namespace vyn {

namespace {

/// Written by the signal handler, read by the event loop.
int signal_pipe[2] = {-1, -1};

void tell_event_loop(int) {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(signal_pipe[1], &byte, 1);
}

/// Attributes that must stand before the application object exists.
int& with_high_dpi(int& argc) {
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    return argc;
}

}  // namespace

Application::Application(int& argc, char** argv) : QApplication(with_high_dpi(argc), argv) {
    setOrganizationName(QStringLiteral("vynlite"));
    setApplicationName(QStringLiteral("vynlite"));
    setApplicationVersion(QLatin1String(program_version));
    setDesktopFileName(QStringLiteral("vynlite"));
    QSettings::setDefaultFormat(QSettings::IniFormat);
    setWindowIcon(vyn_icon(QStringLiteral("vynlite.png")));
    // The application object took over the user's locale.
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());
    set_wording([](const std::string& text) {
        return user_words(experiment_type(std::as_const(vyn_db())), text);
    });
}

Application::~Application() {
    set_wording({});
}

int Application::run() {
    if (pipe(signal_pipe) == 0) {
        auto* notifier = new QSocketNotifier(signal_pipe[0], QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [] { QCoreApplication::exit(); });
        for (const int number : {SIGTERM, SIGINT, SIGHUP})
            std::signal(number, tell_event_loop);
        std::signal(SIGXFSZ, SIG_IGN);  // writing fails instead, and says so
    }
    const int status = exec();
    goes_on_ = false;
    if (error_) std::rethrow_exception(error_);
    return status;
}

void Application::show_error(const QString& text) {
    if (showing_) return;
    showing_ = true;
    // Not from within the handler that failed.
    QTimer::singleShot(0, this, [this, text] {
        QMessageBox box(QMessageBox::Warning, QStringLiteral("VynLite"), text, QMessageBox::Ok,
                        activeWindow());
        box.setTextFormat(Qt::PlainText);
        box.exec();
        showing_ = false;
    });
}

bool Application::prepare(QObject* receiver, QEvent* event) {
    if (event->type() == QEvent::Polish) {
        if (auto* box = qobject_cast<QMessageBox*>(receiver)) {
            // File names in the texts of boxes are no markup.
            if (box->textFormat() == Qt::AutoText) box->setTextFormat(Qt::PlainText);
        } else if (auto* dialog = qobject_cast<QDialog*>(receiver)) {
            fit_on_screen(*dialog);
        }
    }
    if (event->type() != QEvent::KeyPress || !help_) return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier) return false;
    auto* widget = qobject_cast<QWidget*>(receiver);
    if (widget) help_(*widget);
    return widget != nullptr;
}

bool Application::notify(QObject* receiver, QEvent* event) {
    try {
        return prepare(receiver, event) || QApplication::notify(receiver, event);
    } catch (...) {
        if (goes_on_)
            show_error(text_of_exception());
        else {
            if (!error_) error_ = std::current_exception();
            exit();
        }
        return false;
    }
}

}  // namespace vyn
