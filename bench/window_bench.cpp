// How fast the window is there, and how it answers while it computes:
//     vyn_window_bench [SIDE]
// Starts the program ten times, from the new process to the window on the screen. Then opens a
// synthetic point of SIDE x SIDE pixels (4096) and runs Calculate All in the busy box, while
// another thread asks the GUI thread for an answer every 5 ms; a late answer is what a user would
// wait for.
//     vyn_window_bench --points N
// Opens and computes a small point N times in one window; the memory it holds may not grow. Exit
// status 1 when it grew by more than a hundredth of a point with each.
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
#include "bench/pings.h"
#include "core/task.h"
#include "sample/synthetic_point.h"

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

}  // namespace

int main(int argc, char** argv) {
    Application application(argc, argv);
    const QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());

    register_plugins("*.2dio");
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
    std::vector<double> times = pings.stop();
    const bool computed = get_images().find(image_names::field) != nullptr;
    std::printf("Calculate All of %d x %d: %.1f s%s\n", side, side, run,
                computed ? "" : ", NO FIELD");
    std::printf(
        "answers of the window meanwhile: median %.1f ms, 99th percentile %.1f ms, slowest "
        "%.1f ms of %zu\n",
        quantile(times, 0.5), quantile(times, 0.99), quantile(times, 1), times.size());
    return computed ? 0 : 1;
}
