#include "bench/view_benchmarks.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "api/parallel.h"
#include "bench/measure.h"
#include "bench/scene.h"
#include "render/iso_levels.h"
#include "render/iso_lines.h"
#include "render/limits.h"
#include "render/render.h"

namespace vyn::bench {

namespace {

constexpr int view_width = 1600;
constexpr int view_height = 1000;

/// Two images with mask and region, and a view of them.
class View {
  public:
    explicit View(int n)
        : off_(picture_of(Scene(n).off)),
          on_(picture_of(Scene(n).on)),
          off_levels_(std::make_shared<const ImageLevels>(off_)),
          on_levels_(std::make_shared<const ImageLevels>(on_)),
          fit_(std::min(double{view_height} / n, double{view_width} / n)),
          pixels_(std::size_t{view_width} * view_height) {}

    void open() { benchmark::DoNotOptimize(ImageLevels(off_).count()); }
    void limits_fit() { draw_field({-0.5, -0.5, fit_, view_width, view_height}, other_limits()); }
    void palette_fit() {
        colours_.set_palette(
            get_palette_list()[static_cast<std::size_t>(++step_) % get_palette_list().size()]);
        draw_field({-0.5, -0.5, fit_, view_width, view_height}, colours_);
    }
    void limits_1() { draw_field({10, 10, 1, view_width, view_height}, other_limits()); }
    void pan() {
        const double place = 3.0 * (++step_ % 100);
        draw_field({place, place / 2, 0.8, view_width, view_height}, colours_);
    }
    void zoom() {
        const double zoom = fit_ * (1 + 0.01 * (++step_ % 200));
        draw_field({-0.5, -0.5, zoom, view_width, view_height}, colours_);
    }
    void iso_fit() { trace({-0.5, -0.5, fit_, view_width, view_height}); }
    void iso_1() { trace({10, 10, 1, view_width, view_height}); }
    void difference() {
        draw(DifferenceSource{off_levels_, on_levels_}, {-0.5, -0.5, fit_, view_width, view_height},
             other_limits());
    }
    void summary() {
        Progress progress;
        benchmark::DoNotOptimize(summarise(*off_, progress).mean);
    }
    void percentile_limits() {
        Progress progress;
        benchmark::DoNotOptimize(robust_limits(*off_, progress).maximum);
    }
    void histogram() {
        Progress progress;
        benchmark::DoNotOptimize(make_histogram(*off_, {0, 2500}, 256, progress).below);
    }

  private:
    static std::shared_ptr<const image> picture_of(image picture) {
        picture.fill_region(1);
        for (int y = 0; y < picture.height() / 3; ++y)
            std::fill_n(picture.region().row(y), picture.width() / 2, std::uint8_t{0});
        return std::make_shared<const image>(std::move(picture));
    }
    const colour_map& other_limits() {
        colours_.set_limits(0, 2500 + ++step_ % 100);
        return colours_;
    }
    void trace(const ViewRectangle& seen) {
        benchmark::DoNotOptimize(
            iso_lines(FieldSource{off_levels_}, seen, iso_levels({0, 2500}, 10)).size());
    }
    void draw_field(const ViewRectangle& rectangle, const colour_map& colours) {
        draw(FieldSource{off_levels_}, rectangle, colours);
    }
    void draw(const ViewSource& source, const ViewRectangle& rectangle, const colour_map& colours) {
        render(source, colours, rectangle, {pixels_.data(), rectangle.width});
        benchmark::ClobberMemory();
    }

    std::shared_ptr<const image> off_;
    std::shared_ptr<const image> on_;
    std::shared_ptr<const ImageLevels> off_levels_;
    std::shared_ptr<const ImageLevels> on_levels_;
    double fit_;
    std::vector<std::uint32_t> pixels_;
    colour_map colours_{0, 2500, palette_array()};
    int step_ = 0;
};

/// The view of one size at a time.
View& view_of(int n) {
    static int size = 0;
    static std::unique_ptr<View> view;
    if (size != n) view = std::make_unique<View>(n);
    size = n;
    return *view;
}

}  // namespace

void register_view_benchmarks() {
    static constexpr std::pair<const char*, void (View::*)()> actions[] = {
        {"view_open", &View::open},
        {"view_limits_fit", &View::limits_fit},
        {"view_palette_fit", &View::palette_fit},
        {"view_limits_1", &View::limits_1},
        {"view_pan", &View::pan},
        {"view_zoom", &View::zoom},
        {"view_iso_lines_fit", &View::iso_fit},
        {"view_iso_lines_1", &View::iso_1},
        {"view_difference", &View::difference},
        {"view_summary", &View::summary},
        {"view_percentiles", &View::percentile_limits},
        {"view_histogram", &View::histogram},
    };
    for (const int n : sizes())
        for (const auto& [name, action] : actions)
            for (const int threads : thread_counts()) {
                const std::string full_name = std::string(name) + "/" + std::to_string(n) +
                                              "/threads:" + std::to_string(threads);
                benchmark::RegisterBenchmark(full_name.c_str(),
                                             [n, act = action, threads](benchmark::State& state) {
                                                 View& view = view_of(n);
                                                 const ThreadLimit limit(threads);
                                                 for (auto _ : state)
                                                     (view.*act)();
                                             })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
}

}  // namespace vyn::bench
