#include <QDir>
#include <QFont>
#include <iostream>

#include <CLI/CLI.hpp>

#include "api/image_io.h"
#include "app/appearance.h"
#include "app/application.h"
#include "core/errors.h"
#include "core/progress.h"
#include "core/ui/window_size.h"
#include "core/worker.h"
#include "sample/model_point.h"
#include "sample/synthetic_point.h"
#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

namespace {

struct Options {
    std::string folder = "help/pictures";
    int scale = 1;
    bool dark = false;
    std::pair<int, int> screen{1920, 1200};
    std::vector<std::string> only;
};

/// A test point in a folder whose name looks the same on every machine and in every run.
QString make_test_point(const char* name, SyntheticOptions options) {
    QString folder = QDir::temp().filePath(QStringLiteral("tunnel/%1").arg(QLatin1String(name)));
    QDir(folder).removeRecursively();
    options.width = 1024;
    options.height = 768;
    options.noise = SyntheticOptions::Noise::camera;
    Progress progress;
    write_synthetic_point(make_synthetic_point(options, progress), folder.toStdString(), progress);
    return folder;
}

QString make_model_test_point() {
    QString folder = QDir::temp().filePath(QStringLiteral("tunnel/model"));
    QDir(folder).removeRecursively();
    ModelPointOptions options;
    options.point.width = 1024;
    options.point.height = 768;
    Progress progress;
    write_model_point(make_model_point(options, progress), folder.toStdString(), progress);
    return folder;
}

void play(const Options& options) {
    QStringList only;
    for (const std::string& name : options.only)
        only << QString::fromStdString(name);
    Shots shots(QString::fromStdString(options.folder), only);
    register_plugins("*.2dio");
    register_plugins("*.3dio");
    Worker worker;
    Theatre theatre{worker,
                    shots,
                    make_test_point("wing", {}),
                    make_test_point("binary", {.channels = SyntheticOptions::Channels::binary}),
                    make_test_point("bent", {.order = 1, .bending = 1.5}),
                    make_model_test_point()};
    play_run(theatre);
    play_window(theatre);
    play_dialogs(theatre);
    play_in_situ(theatre);
    play_viewer(theatre);
    play_association(theatre);
    play_model(theatre);
}

}  // namespace

}  // namespace vyn::screenshots

int main(int argc, char** argv) {
    using namespace vyn::screenshots;
    Options options;
    CLI::App command("Takes the pictures of the manual, without a screen.");
    command.add_option("FOLDER", options.folder, "folder to write to")->capture_default_str();
    command.add_option("--scale", options.scale, "pixels of the screen per pixel of the design")
        ->check(CLI::Range(1, 4));
    command
        .add_option("--screen", options.screen,
                    "width and height of the screen, in pixels of the design")
        ->delimiter('x');
    command.add_flag("--dark", options.dark, "with a dark palette");
    command.add_option("--only", options.only, "names of the pictures to take")->delimiter(',');
    CLI11_PARSE(command, argc, argv);

    // The same on every machine: no screen, no desktop's theme, no settings of the user.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_FONT_DPI", "96");
    qputenv("QT_SCALE_FACTOR", QByteArray::number(options.scale));
    const QString home = QDir::temp().filePath(QStringLiteral("tunnel/home"));
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"})
        qputenv(variable, home.toLocal8Bit());
    vyn::Application application(argc, argv);
    vyn::pretend_screen({options.screen.first, options.screen.second});
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    vyn::apply_appearance(options.dark ? vyn::Appearance::dark : vyn::Appearance::light);
    try {
        play(options);
    } catch (const vyn::GenericError& error) {
        std::cerr << error.what() << ' ' << error.where() << '\n';
        return 1;
    }
    QDir(QDir::temp().filePath(QStringLiteral("tunnel"))).removeRecursively();
    return 0;
}
