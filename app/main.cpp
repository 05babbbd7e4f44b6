#include <QCommandLineParser>
#include <QTimer>
#include <cstring>
#include <iostream>

#include "api/image_io.h"
#include "app/appearance.h"
#include "app/application.h"
#include "app/main_window.h"
#include "app/messages.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/log_file.h"
#include "core/messages.h"
#include "core/user_folders.h"
#include "core/version.h"
#include "core/worker.h"

using namespace vyn;

namespace {

constexpr const char* usage =
    "Usage: vynlite [PROJECT] [IMAGE...]\n"
    "VynLite: surface pressure from pressure-sensitive-paint images.\n"
    "\n"
    "  PROJECT     project file (.xml) or container (.ims) to open\n"
    "  IMAGE       images for the project's places, or to look at\n"
    "  --help      this text\n"
    "  --version   the program's version\n";

/// Asked for without a screen, too. The exit status, or -1 to go on.
int answer_early(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::cout << usage;
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::cout << "vynlite " << program_version << '\n';
            return 0;
        }
    }
    return -1;
}

void report(const SystemError& error) {
    std::cerr << "System Error:" << error.where() << '\n' << error.system_message() << '\n';
}

void report(const GenericError& error) {
    std::cerr << "Generic Error " << error.where() << '\n';
}

void open_at_start(Application& application, VynLiteForm& window, const QStringList& files) {
    QTimer::singleShot(0, &window, [&application, &window, files] {
        get_log().write(LogLevel::progress, "The window is open");
        application.go_on_after_errors();
        window.offer_lost_work();
        if (!files.isEmpty()) window.open_files(files);
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (const int status = answer_early(argc, argv); status >= 0) return status;
    get_log_mgr().set_level(LogLevel::information);
    const ScopedLogSink standard_error([](const LogLine& line) { std::cerr << line.text << '\n'; },
                                       LogManager::Filter::by_level);
    const LogFile log_file(window_log_file());

    Application application(argc, argv);
    QCommandLineParser options;
    if (!options.parse(Application::arguments())) {
        std::cerr << options.errorText().toStdString() << '\n' << usage;
        return 2;
    }
    idle_flag() = true;
    register_plugins("*.2dio");
    register_plugins("*.3dio");
    Application::connect(&application, &Application::lastWindowClosed, &application,
                         &Application::quit);
    apply_appearance(chosen_appearance());

    Worker worker;
    auto window = std::make_unique<VynLiteForm>(worker);
    set_message_parent(window.get());
    set_custom_message_fun(show_information, ask_question);
    application.set_help([&window](QWidget& widget) { window->show_help(widget); });
    window->show();
    open_at_start(application, *window, options.positionalArguments());
    try {
        application.run();
    } catch (const SystemError& error) {
        report(error);
    } catch (const GenericError& error) {
        report(error);
    }
    set_default_message_fun();
    set_message_parent(nullptr);
    application.set_help({});
    window.reset();
    return 0;
}
