// How fast the window is there, and how it answers while it computes:
//     vyn_window_bench [SIDE]
// Starts the program ten times, from the new process to the window on the screen. Then opens a
// synthetic point of SIDE x SIDE pixels (4096) and runs Calculate All in the busy box, while
// another thread asks the GUI thread for an answer every 5 ms; a late answer is what a user would
// wait for.
//     vyn_window_bench --model PROJECT MESH
// Opens a mesh in a project, looks at it in a view of 1600 x 1000 and turns it by hand.
//     vyn_window_bench --points N
// Opens and computes a small point N times in one window; the memory it holds may not grow. Exit
// status 1 when it grew by more than a hundredth of a point with each.
#include <QMouseEvent>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string_view>
#include <thread>

#include <unistd.h>

#include "api/image_io.h"
#include "api/image_list.h"
#include "app/application.h"
#include "app/experiment_page.h"
#include "app/main_window.h"
#include "app/model_commands.h"
#include "bench/pings.h"
#include "core/task.h"
#include "sample/synthetic_point.h"
#include "view/ui/model/model_viewer.h"
#include "view/ui/model/section_panel.h"

using namespace vyn;

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

double quantile(std::vector<double>& values, double part) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[static_cast<std::size_t>(part * double(values.size() - 1))];
}

/// From the start of the process to the line that the window is open in its log.
double start_time(const QString& program, const QString& folder) {
    const QString log = folder + QStringLiteral("/vynlite/vynlite.log");
    QFile::remove(log);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_STATE_HOME"), folder);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder);
    QProcess process;
    process.setProcessEnvironment(environment);
    const Clock::time_point begin = Clock::now();
    process.start(program, QStringList());
    while (true) {
        QFile file(log);
        if (file.open(QIODevice::ReadOnly) && file.readAll().contains("The window is open")) break;
        if (Clock::now() - begin > std::chrono::seconds(20)) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const double time = milliseconds(Clock::now() - begin);
    process.terminate();
    process.waitForFinished();
    return time;
}

double resident_mebibytes() {
    std::ifstream statm("/proc/self/statm");
    double all = 0;
    double resident = 0;
    statm >> all >> resident;
    return resident * double(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

void write_point(const QString& folder, int width, int height) {
    TaskContext context;
    write_synthetic_point(make_synthetic_point({.width = width, .height = height}, context),
                          folder.toStdString(), context);
}

/// Memory after a tenth of the points, when every cache is filled, and after all of them.
int many_points(const QString& folder, int count) {
    constexpr int width = 480;
    constexpr int height = 360;
    constexpr double planes = 30;  // of 4 bytes a pixel, held of such a point
    constexpr double point = planes * 4 * width * height / (1 << 20);
    write_point(folder, width, height);
    Worker worker;
    VynLiteForm window(worker);
    window.show();
    double early = 0;
    for (int i = 0; i < count; ++i) {
        if (i == std::max(count / 10, 1)) early = resident_mebibytes();
        vyn_db().set_modified(false);
        window.open_files({folder + QStringLiteral("/project.xml")});
        if (!window.experiment_page()) return 1;
        window.experiment_page()->calculate_all();
        if (!get_images().find(image_names::field)) return 1;
        QApplication::processEvents();
    }
    const double late = resident_mebibytes();
    std::printf("memory after %d points: %.0f MiB, after %d: %.0f MiB\n", count / 10, early, count,
                late);
    return late - early > 0.01 * point * count ? 1 : 0;
}

void print_answers(bench::Pings& pings) {
    std::vector<double> times = pings.stop();
    std::printf(
        "answers of the window meanwhile: median %.1f ms, 99th percentile %.1f ms, slowest "
        "%.1f ms of %zu\n",
        quantile(times, 0.5), quantile(times, 0.99), quantile(times, 1), times.size());
}

/// Times of the frames while the left button is held and after it was let go.
void turn(ModelCanvas& canvas) {
    const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButtons held) {
        QMouseEvent event(type, at, Qt::LeftButton, held, Qt::NoModifier);
        QApplication::sendEvent(&canvas, &event);
        const Clock::time_point begin = Clock::now();
        canvas.repaint();
        return milliseconds(Clock::now() - begin);
    };
    std::vector<double> moving;
    std::vector<double> still;
    for (int turns = 0; turns < 5; ++turns) {
        QPoint at(400, 400);
        send(QEvent::MouseButtonPress, at, Qt::LeftButton);
        for (int i = 0; i < 10; ++i)
            moving.push_back(send(QEvent::MouseMove, at += QPoint(9, turns - 2), Qt::LeftButton));
        still.push_back(send(QEvent::MouseButtonRelease, at, Qt::NoButton));
    }
    std::printf("turning at %d x %d: median %.0f ms, slowest %.0f ms; at rest: %.0f and %.0f ms\n",
                canvas.width(), canvas.height(), quantile(moving, 0.5), quantile(moving, 1),
                quantile(still, 0.5), quantile(still, 1));
}

/// Times of a section whose plane is dragged across the model.
void drag_section(ModelViewer& viewer) {
    std::vector<double> times;
    for (int i = 0; i < 20; ++i) {
        const Clock::time_point begin = Clock::now();
        viewer.section().set_plane(1, 100.0 + 10 * i);
        times.push_back(milliseconds(Clock::now() - begin));
    }
    std::printf("section dragged: median %.0f ms, slowest %.0f ms\n", quantile(times, 0.5),
                quantile(times, 1));
}

int model_in_hand(const QString& project, const std::string& mesh) {
    Worker worker;
    VynLiteForm window(worker);
    window.show();
    window.open_files({project});
    auto* commands = window.findChild<ModelCommands*>();
    for (const bool shown : {false, true}) {
        bench::Pings pings;
        const Clock::time_point begin = Clock::now();
        if (shown)
            commands->show_model();
        else
            commands->open_mesh_file(mesh);
        std::printf("%s: %.1f s\n", shown ? "to the view" : "mesh opened",
                    milliseconds(Clock::now() - begin) / 1000);
        print_answers(pings);
    }
    if (!commands->viewer()) return 1;
    ModelCanvas& canvas = commands->viewer()->canvas();
    canvas.setFixedSize(1600, 1000);
    QApplication::processEvents();
    std::printf("%zu triangles, memory %.0f MiB\n", canvas.model()->mesh.triangles.size(),
                resident_mebibytes());
    turn(canvas);
    drag_section(*commands->viewer());
    vyn_db().set_modified(false);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Application application(argc, argv);
    const QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());

    register_plugins("*.2dio");
    register_plugins("*.3dio");
    if (argc > 3 && std::string_view(argv[1]) == "--model")
        return model_in_hand(QString::fromLocal8Bit(argv[2]), argv[3]);
    if (argc > 2 && std::string_view(argv[1]) == "--points")
        return many_points(folder.path(), std::atoi(argv[2]));

    const int side = argc > 1 ? std::atoi(argv[1]) : 4096;
    std::vector<double> starts;
    for (int i = 0; i < 10; ++i)
        starts.push_back(start_time(Application::applicationDirPath() + QStringLiteral("/vynlite"),
                                    folder.path()));
    std::printf("start of the program: median %.0f ms, slowest %.0f ms of %zu\n",
                quantile(starts, 0.5), quantile(starts, 1), starts.size());

    write_point(folder.path(), side, side);
    Worker worker;
    VynLiteForm window(worker);
    window.show();
    window.open_files({folder.filePath(QStringLiteral("project.xml"))});
    if (!window.experiment_page()) return 1;

    bench::Pings pings;
    const Clock::time_point begin = Clock::now();
    window.experiment_page()->calculate_all();
    const double run = milliseconds(Clock::now() - begin) / 1000;
    const bool computed = get_images().find(image_names::field) != nullptr;
    std::printf("Calculate All of %d x %d: %.1f s%s\n", side, side, run,
                computed ? "" : ", NO FIELD");
    print_answers(pings);
    return computed ? 0 : 1;
}
