// Errors of the alignment by correlation on pairs with exact truth, and its time:
// vyn_correlation_accuracy [--time | PAIR ...]; without arguments the table of all pairs. The time
// is that of 2048 x 2048 pixels: correlate with three passes, of which correlate_refine is one, and
// correlate_search everything before.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "align/correlation/correlation_alignment.h"
#include "api/parallel.h"
#include "tests/align/correlation/textured_pair.h"

namespace vyn::bench {

namespace {

using test::PairScene;
using test::Texture;

struct Pair {
    std::string name;
    double goal;  ///< root mean square of the error vector's length, pixels
    PairScene scene;
    CorrelationOptions options;
};

Point sine(Point p, double amplitude, double wave) {
    const double k = 2 * M_PI / wave;
    return {amplitude * std::sin(k * p.y), amplitude * std::sin(k * p.x)};
}

Point rotated(Point p, double size, double degrees, double shift) {
    const double a = degrees * M_PI / 180;
    const double x = p.x - size / 2;
    const double y = p.y - size / 2;
    return {(std::cos(a) - 1) * x - std::sin(a) * y + shift,
            std::sin(a) * x + (std::cos(a) - 1) * y - 0.6 * shift};
}

/// A swept wing in a picture of side `size`.
bool on_wing(Point p, double size) {
    const double x = p.x / size;
    const double y = p.y / size;
    const double lead = 0.15 + 0.35 * (y - 0.1);
    const double trail = 0.8 + 0.05 * (y - 0.1);
    return y > 0.08 && y < 0.92 && x > lead && x < trail;
}

double smooth_gain(Point p, double size) {
    return 1.25 + 0.75 * std::sin(2 * M_PI * p.x / size) * std::cos(2 * M_PI * p.y / size);
}

double shock(Point p, double place, double height) {
    return 1 + height * 0.5 * (1 + std::tanh((p.x - place) / 1.5));
}

std::vector<Pair> all_pairs() {
    std::vector<Pair> pairs;
    const auto add = [&](const std::string& name, double goal, PairScene scene,
                         CorrelationOptions options = {}) {
        pairs.push_back({name, goal, std::move(scene), options});
    };
    const auto sine_scene = [](double amplitude, double wave) {
        PairScene scene;
        scene.displacement = [=](Point p) { return sine(p, amplitude, wave); };
        return scene;
    };
    PairScene s = sine_scene(2, 256);
    add("sine 2 px, wave 256, texture 1", 0.008, s);
    s.texture_size = 2;
    add("sine 2 px, wave 256, texture 2", 0.012, s);
    s = sine_scene(2, 128);
    add("sine 2 px, wave 128", 0.016, s);
    s.noise = 0;
    add("sine 2 px, wave 128, no noise", 0.004, s);
    s.noise = 0.3;
    add("sine 2 px, wave 128, noise 30 %", 0.075, s);
    add("sine 0.7 px, wave 64", 0.021, sine_scene(0.7, 64));
    s = {};
    s.displacement = [](Point p) {
        return Point{0.01 * (p.x - 256) + 0.004 * (p.y - 256),
                     -0.006 * (p.x - 256) + 0.01 * (p.y - 256)};
    };
    add("affine 1 %", 0.005, s);
    s.displacement = [](Point p) { return rotated(p, 512, 3, 0); };
    add("rotation 3 degrees", 0.005, s);
    s = {};
    s.kind = Texture::Kind::dots;
    s.texture_size = 1.5;
    s.displacement = [](Point p) {
        return Point{3 * std::sin(p.x / 170 + 0.4) * std::cos(p.y / 210),
                     2 * std::cos(p.x / 230 - p.y / 190)};
    };
    add("sprayed dots, smooth 3 px", 0.008, s);
    s = sine_scene(2, 256);
    s.texture_size = 4;
    CorrelationOptions wide;
    wide.cell = 32;
    add("texture 4, cell 32", 0.025, s, wide);

    const auto bending = [](Point p) {
        const double t = p.y / 1024;
        return Point{0.6 * t * t + 0.3 * std::sin(p.x / 300), 4 * t * t};
    };
    s = {};
    s.size = 1024;
    s.displacement = bending;
    s.painted = [](Point p) { return on_wing(p, 1024); };
    s.gain = [](Point p) { return smooth_gain(p, 1024) * shock(p, 500 + 0.2 * p.y, 0.15); };
    CorrelationOptions dark;
    dark.level = 200;
    add("wing bending 4 px, dark ground", 0.010, s, dark);
    s.displacement = [bending](Point p) {
        const Point d = bending(p);
        return Point{d.x + 12, d.y};
    };
    s.gain = [](Point) { return 1.0; };
    s.masked_ground = true;
    add("wing masked by NaN, moved 12 px", 0.010, s);
    s = {};
    s.size = 1024;
    s.strength = 0.02;
    s.noise = 0;
    s.electrons_per_count = 4;
    s.displacement = bending;
    s.gain = [](Point p) { return 0.7 + 0.7 * p.x / 1024; };
    add("weak paint", 0.015, s);
    s = {};
    s.size = 2048;
    s.displacement = [](Point p) {
        const Point r = rotated(p, 2048, 3, 60);
        const double t = p.y / 2048;
        return Point{r.x, r.y + 4 * t * t};
    };
    CorrelationOptions whole;
    whole.global = GlobalPass::yes;
    add("2048, shift 60 px, rotation 3, bending", 0.006, s, whole);
    return pairs;
}

struct Errors {
    std::vector<double> lengths;  ///< of the measured nodes
    int nodes = 0;                ///< whose cell lies in paint
    int within_two_sigma = 0;
    int elsewhere = 0;  ///< measured nodes without any paint in the cell
    double mean_u = 0;
};

Errors errors_of(const Pair& pair, const CorrelationResult& result) {
    Errors errors;
    const int step = pair.options.step;
    const int half = pair.options.cell / 2;
    const int size = pair.scene.size;
    const auto cell_is = [&](int x, int y, bool painted) {
        for (int j = -half; j < half; j += 3)
            for (int i = -half; i < half; i += 3) {
                const Point p{static_cast<double>(x + i), static_cast<double>(y + j)};
                if (pair.scene.painted(p) != painted) return false;
            }
        return true;
    };
    for (int r = 0; r * step < size; ++r)
        for (int c = 0; c * step < size; ++c) {
            const int x = c * step;
            const int y = r * step;
            const Point at{static_cast<double>(x), static_cast<double>(y)};
            const Point truth = pair.scene.displacement(at);
            const bool measured = result.source(c, r) == NodeSource::measured;
            if (measured && cell_is(x, y, false)) ++errors.elsewhere;
            const auto inside = [&](double px, double py) {
                return px >= half && py >= half && px <= size - half && py <= size - half;
            };
            if (!inside(x, y) || !inside(x + truth.x, y + truth.y) || !cell_is(x, y, true))
                continue;
            ++errors.nodes;
            if (!measured) continue;
            const Point d = result.field.at(at);
            errors.lengths.push_back(std::hypot(d.x - truth.x, d.y - truth.y));
            errors.within_two_sigma +=
                std::abs(d.x - truth.x) <= 2 * static_cast<double>(result.sigma_u(c, r));
            errors.within_two_sigma +=
                std::abs(d.y - truth.y) <= 2 * static_cast<double>(result.sigma_v(c, r));
        }
    return errors;
}

double root_mean_square(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values)
        sum += value * value;
    return values.empty() ? 0 : std::sqrt(sum / static_cast<double>(values.size()));
}

double percentile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

void measure(const Pair& pair) {
    const test::TexturedPair pictures = test::make_textured_pair(pair.scene);
    Progress progress;
    const auto start = std::chrono::steady_clock::now();
    const CorrelationResult result =
        align_by_correlation(pictures.off, pictures.on, pair.options, {}, progress);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::cout << std::left << std::setw(42) << pair.name << std::right;
    if (!result.failure.empty()) {
        std::cout << " failed: " << result.failure << std::endl;
        return;
    }
    const Errors errors = errors_of(pair, result);
    const CorrelationStatistics& s = result.statistics;
    std::cout << std::fixed << std::setprecision(4) << std::setw(8) << pair.goal << std::setw(9)
              << root_mean_square(errors.lengths) << std::setw(9)
              << percentile(errors.lengths, 0.99) << std::setw(9) << percentile(errors.lengths, 1)
              << std::setprecision(3) << std::setw(7)
              << static_cast<double>(errors.lengths.size()) / errors.nodes << std::setw(7)
              << errors.within_two_sigma / (2.0 * static_cast<double>(errors.lengths.size()))
              << std::setw(6) << errors.elsewhere << std::setprecision(1) << std::setw(7)
              << s.band_width << std::setw(5) << s.low_pass << std::setprecision(2) << std::setw(7)
              << time.count() << "  ";
    for (const double change : s.changes)
        std::cout << ' ' << std::setprecision(4) << change;
    std::cout << std::endl;
}

void measure_time() {
    PairScene scene;
    scene.size = 2048;
    scene.displacement = [](Point p) { return sine(p, 3, 700); };
    const test::TexturedPair pictures = test::make_textured_pair(scene);
    // Median seconds with so many passes, of the wall and of the processors, which tell more on a
    // busy machine.
    struct Times {
        double wall;
        double processors;
    };
    const auto time_of = [&](int iterations) {
        std::vector<double> wall;
        std::vector<double> processors;
        for (int i = 0; i < 5; ++i) {
            Progress progress;
            const std::clock_t ticks = std::clock();
            const auto start = std::chrono::steady_clock::now();
            align_by_correlation(pictures.off, pictures.on, {.iterations = iterations}, {},
                                 progress);
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
            wall.push_back(time.count());
            processors.push_back(static_cast<double>(std::clock() - ticks) / CLOCKS_PER_SEC);
        }
        return Times{percentile(wall, 0.5), percentile(processors, 0.5)};
    };
    constexpr double cells = 65536;
    const auto tell = [&](const char* part, double wall, double processors) {
        std::cout << "  " << std::left << std::setw(18) << part << std::right << wall << " s, "
                  << cells / wall << " cells/s, of processors " << processors << " s" << std::endl;
    };
    for (const int threads : {1, 2}) {
        const ThreadLimit limit(threads);
        const Times one = time_of(1);
        const Times three = time_of(3);
        const Times pass{(three.wall - one.wall) / 2, (three.processors - one.processors) / 2};
        std::cout << threads << " threads\n";
        tell("correlate", three.wall, three.processors);
        tell("correlate_search", one.wall - pass.wall, one.processors - pass.processors);
        tell("correlate_refine", pass.wall, pass.processors);
    }
}

int run(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--time") == 0) {
        measure_time();
        return 0;
    }
    std::cout << std::left << std::setw(42) << "pair" << std::right
              << "    goal      rms      99%      max  valid  2sigma else  band  low   time  "
                 "changes\n";
    for (const Pair& pair : all_pairs()) {
        const bool wanted = argc < 2 || std::any_of(argv + 1, argv + argc, [&](const char* part) {
                                return pair.name.find(part) != std::string::npos;
                            });
        if (wanted) measure(pair);
    }
    return 0;
}

}  // namespace
}  // namespace vyn::bench

int main(int argc, char** argv) {
    try {
        return vyn::bench::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "vyn_correlation_accuracy: " << error.what() << "\n";
        return 1;
    }
}
