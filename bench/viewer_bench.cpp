// Redraw times of the field viewer: an image of N x N pixels in a view of 1600 x 1000, one line
// "viewer WHAT N MS" per figure (median of 40 after a warm-up, from the call to painted pixels).
// Then what the window waits for while a viewer gets such an image: how long the GUI thread did not
// answer at most, and how long until the image was there.
#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "api/image_io.h"
#include "bench/pings.h"
#include "render/limits.h"
#include "view/edit/pixel_runs.h"
#include "view/edit/region_edit.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/window/field_viewer.h"

namespace vyn {
namespace {

double milliseconds_of(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

void measure(const char* what, int n, const std::function<void(int)>& change) {
    constexpr int repeats = 40;
    change(0);
    std::vector<double> times;
    for (int i = 1; i <= repeats; ++i)
        times.push_back(milliseconds_of([&] { change(i); }));
    std::ranges::sort(times);
    std::printf("viewer %s %d %.2f ms (worst %.2f)\n", what, n, times[repeats / 2], times.back());
}

image scene(int n) {
    image picture(n, n);
    picture.name = "scene";
    std::uint32_t state = 1;
    // Even from -100 to 100.
    const auto noise = [&state] {
        state = state * 1664525U + 1013904223U;
        return static_cast<float>(state >> 8) / static_cast<float>(1 << 24) * 200 - 100;
    };
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const float u = 2 * static_cast<float>(x) / static_cast<float>(n) - 1;
            const float v = 2 * static_cast<float>(y) / static_cast<float>(n) - 1;
            picture.values()(x, y) =
                1800 + 500 * std::sin(7 * u + 3 * v) + 200 * std::cos(31 * u * v) + noise();
            picture.mask()(x, y) = 0.95F * u * u + 1.3F * v * v >= 1;
        }
    return picture;
}

void measure_redraw(VynFieldView& view, const char* where, int n) {
    const auto name = [&](const char* what) { return std::string(what) + "/" + where; };
    const auto& palettes = get_palette_list();
    Fashion fashion = view.fashion();
    measure(name("limits").c_str(), n, [&](int i) {
        fashion.limits = {800.0 + i, 2600.0 - i};
        view.set_fashion(fashion);
        view.repaint();
    });
    measure(name("palette").c_str(), n, [&](int i) {
        fashion.set_palette(palettes[static_cast<std::size_t>(i) % palettes.size()]);
        view.set_fashion(fashion);
        view.repaint();
    });
    const ViewTransform start = view.transform();
    measure(name("pan").c_str(), n, [&](int i) {
        view.set_transform({start.zoom, start.origin + QPointF(7, 5) * i / start.zoom});
        view.repaint();
    });
    view.set_transform(start);
    measure(name("zoom").c_str(), n, [&](int i) {
        view.zoom_about({700, 400}, i % 2 ? 1.1 : 1 / 1.1);
        view.repaint();
    });
    view.set_transform(start);
    fashion.iso.kind = IsoStyle::Kind::number;
    view.set_fashion(fashion);
    measure(name("pan_iso_lines").c_str(), n, [&](int i) {
        view.set_transform({start.zoom, start.origin + QPointF(7, 5) * i / start.zoom});
        view.repaint();
    });
    view.set_transform(start);
    measure(name("still_iso_lines").c_str(), n, [&](int) { view.repaint(); });
    fashion.iso.kind = IsoStyle::Kind::none;
    fashion.palette_style = {true, 12};
    measure(name("levels").c_str(), n, [&](int i) {
        fashion.limits = {800.0 + i, 2600.0 - i};
        view.set_fashion(fashion);
        view.repaint();
    });
    fashion.palette_style = {};
    view.set_fashion(fashion);
}

/// Runs an action on the GUI thread, and its event loop until the outcome is seen.
void measure_blocked(const char* what, int n, const std::function<void()>& action,
                     const std::function<bool()>& seen) {
    QApplication::processEvents();
    bench::Pings pings(std::chrono::milliseconds(1));
    const double whole = milliseconds_of([&] {
        action();
        while (!seen())
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QApplication::processEvents();
    });
    const std::vector<double> times = pings.stop();
    std::printf("viewer %s %d blocked %.1f ms, there after %.1f ms\n", what, n,
                *std::ranges::max_element(times), whole);
}

void measure_viewer(const std::shared_ptr<const image>& picture, int n) {
    get_images().add(std::make_shared<const image>(*picture));
    Worker worker;
    auto viewer = std::make_unique<VynFieldViewer>(worker, "none", false, QString());
    viewer->resize(1600, 1000);
    viewer->show();
    const auto shows = [&](const std::shared_ptr<const image>& wanted) {
        return [&viewer, wanted] { return viewer->picture() == wanted; };
    };
    const std::shared_ptr<imagesList> program_list(std::shared_ptr<void>(), &get_images());
    measure_blocked(
        "first_shown", n,
        [&] { viewer->show_from(program_list, picture->name, PictureOrigin::computed, QString()); },
        shows(get_images().find(picture->name)));

    image other = *picture;
    other.values()(0, 0) = 1;
    const auto computed = std::make_shared<const image>(std::move(other));
    measure_blocked(
        "replaced", n, [&] { get_images().add(computed); }, shows(computed));

    RegionEdit edit(*computed);
    const auto edited = [&] { return viewer->picture()->shares_planes_with(edit.picture()); };
    const Point corner{n / 2.0, n / 2.0};
    measure_blocked(
        "rectangle_excluded", n,
        [&] {
            edit.draw(RegionPlane::excluded, RegionAction::add,
                      rectangle_runs(edit.size(), corner, {corner.x + 100, corner.y + 50}));
            viewer->replace_picture(edit.picture());
        },
        edited);
    measure_blocked(
        "threshold_excluded", n,
        [&] {
            edit.draw(RegionPlane::excluded, RegionAction::add,
                      threshold_flags(edit.picture(), 1800, 2000));
            viewer->replace_picture(edit.picture());
        },
        edited);
}

/// Peak resident memory in MB, as the system counts it.
double peak_memory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024;
    return 0;
}

void run(int n) {
    register_plugins("*.2dio");
    const auto file = std::filesystem::temp_directory_path() /
                      ("vyn_viewer_bench_" + std::to_string(getpid()) + ".tif");
    write_image(scene(n), file);
    VynFieldView view;
    view.resize(1600, 1000);
    view.show();
    QApplication::processEvents();
    std::shared_ptr<const image> picture;
    const double reading =
        milliseconds_of([&] { picture = std::make_shared<const image>(read_image(file)); });
    Fashion fashion;
    const double limits = milliseconds_of([&] {
        Progress progress;
        fashion.limits = robust_limits(*picture, progress);
    });
    const double showing = milliseconds_of([&] {
        view.set_fashion(fashion);
        view.set_picture(std::make_shared<const ImageLevels>(picture));
        view.repaint();
    });
    std::filesystem::remove(file);
    const std::pair<const char*, double> opening[] = {
        {"read", reading}, {"limits", limits}, {"show", showing}};
    for (const auto& [what, time] : opening)
        std::printf("viewer open/%s %d %.1f ms\n", what, n, time);
    view.fit();
    measure_redraw(view, "fit", n);
    view.set_transform({1, {n / 3.0, n / 3.0}});
    measure_redraw(view, "1:1", n);
    view.set_transform({8, {n / 2.0, n / 2.0}});
    measure_redraw(view, "8:1", n);
    view.hide();
    measure_viewer(picture, n);
    std::printf("viewer peak_memory %d %.0f MB (planes %.0f MB)\n", n, peak_memory(),
                5.0 * n * n / (1 << 20));
}

}  // namespace
}  // namespace vyn

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    try {
        vyn::run(argc > 1 ? std::stoi(argv[1]) : 4096);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vyn_viewer_bench: %s\n", error.what());
        return 1;
    }
}
