#include "bench/peers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <locale>

#include <opencv2/core.hpp>

#include "api/parallel.h"
#include "bench/measure.h"
#include "bench/model_peers.h"
#include "bench/peer_stages.h"

namespace vyn::bench {

namespace {

/// What a stage is set against: OpenCV, the memory limit for so many bytes of traffic per pixel, or
/// our own prefilter and evaluation of a cubic spline.
enum class Reference { opencv, limit, spline };

/// Largest ratio of our time to the reference's.
struct Target {
    const char* stage;
    double acceptable;
    double good;
    Reference reference = Reference::opencv;
    double limit_bytes = 0;
};

constexpr double triad_bytes = 12;
constexpr Target targets[] = {
    {"correct_fused", 1.5, 1.0},  {"prefilter", 8, 4, Reference::limit, 8},
    {"spline_eval", 0.6, 0.4},    {"extend_edges", 0.4, 0.3, Reference::spline},
    {"undistort", 0.4, 0.27},     {"polywarp", 0.45, 0.33},
    {"field_fused", 1.5, 1.0},    {"chain", 0.5, 0.35},
    {"median3", 1.3, 1.0},        {"median5", 0.7, 0.5},
    {"box3_masked", 0.7, 0.25},   {"box5_masked", 0.7, 0.25},
    {"box9_masked", 0.7, 0.25},   {"box15_masked", 0.7, 0.25},
    {"gauss3_masked", 1.0, 0.45}, {"gauss5_masked", 1.0, 0.45},
    {"gauss9_masked", 1.0, 0.45}, {"gauss15_masked", 1.0, 0.45},
};
/// Shared machines are noisy: a miss by less than this counts as met.
constexpr double tolerance = 1.15;

const Stage& stage_of(const std::vector<Stage>& stages, const std::string& name) {
    return *std::find_if(stages.begin(), stages.end(),
                         [&](const Stage& stage) { return stage.name == name; });
}

struct Pair {
    double ours;
    double reference;
};

/// Medians of many short runs by turns, so that both see the same machine.
Pair alternated(const std::function<double()>& ours, const std::function<double()>& reference) {
    constexpr double enough_ns = 2e9;
    constexpr std::size_t least = 9;
    ours();
    reference();
    std::vector<double> our_times;
    std::vector<double> reference_times;
    for (double spent = 0; our_times.size() < least || spent < enough_ns;) {
        our_times.push_back(ours());
        reference_times.push_back(reference());
        spent += our_times.back() + reference_times.back();
    }
    return {median(our_times), median(reference_times)};
}

double time_of_peer(PeerStages& peers, const std::string& stage) {
    const auto start = std::chrono::steady_clock::now();
    const cv::Mat values = peers.run(stage);
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count();
}

/// Keeps a stage's result.
class KeepingSink final : public Sink {
  public:
    void take(const image& picture) override { kept = picture; }
    void take(const Bitmap<float>& plane) override {
        kept = image(plane, Bitmap<std::uint8_t>(plane.width(), plane.height(), 0));
    }
    image kept;
};

/// Median of the relative difference over our valid pixels: both sides compute the same thing.
double typical_difference(const Stage& stage, PeerStages& peers) {
    KeepingSink sink;
    stage.run(sink);
    const cv::Mat theirs = peers.run(stage.name);
    std::vector<double> differences;
    for (int y = 0; y < sink.kept.height(); ++y)
        for (int x = 0; x < sink.kept.width(); ++x)
            if (sink.kept.mask()(x, y) == 0) {
                const double own = sink.kept.values()(x, y);
                differences.push_back(std::abs(theirs.at<float>(y, x) - own) / std::abs(own));
            }
    return median(differences);
}

const char* verdict(double ratio, double target) {
    return ratio <= target * tolerance ? "met" : "MISSED";
}

const char* name_of(Reference reference) {
    switch (reference) {
        case Reference::limit:
            return "limit ";
        case Reference::spline:
            return "spline";
        case Reference::opencv:
            break;
    }
    return "OpenCV";
}

void print_row(const Target& target, int n, int threads, const Pair& pair) {
    const double pixels = static_cast<double>(n) * n;
    const double ratio = pair.ours / pair.reference;
    std::cout << std::left << std::setw(14) << target.stage << std::right << std::setw(6) << n
              << std::setw(8) << threads << std::setw(9) << pair.ours / pixels << std::setw(9)
              << pair.reference / pixels << std::setw(8) << ratio << "   "
              << name_of(target.reference) << std::setw(7) << target.acceptable << ' '
              << std::setw(6) << verdict(ratio, target.acceptable) << std::setw(7) << target.good
              << ' ' << verdict(ratio, target.good) << std::endl;
}

/// True when no stage differs from its peer by more than the methods do.
bool measure_size(int n) {
    constexpr double widest_difference = 0.01;
    Inputs inputs(n);
    PeerStages peers(inputs);
    const std::vector<Stage> stages = our_stages(inputs);
    const auto reference = [&](const Target& target) {
        switch (target.reference) {
            case Reference::limit:
                return time_once(stage_of(stages, "triad")) * target.limit_bytes / triad_bytes;
            case Reference::spline:
                return time_once(stage_of(stages, "prefilter")) +
                       time_once(stage_of(stages, "spline_eval"));
            case Reference::opencv:
                break;
        }
        return time_of_peer(peers, target.stage);
    };
    bool alike = true;
    for (const Target& target : targets) {
        const Stage& stage = stage_of(stages, target.stage);
        check_same_bits(stage);
        if (target.reference == Reference::opencv &&
            !(typical_difference(stage, peers) < widest_difference)) {
            std::cout << target.stage << ": our result and the peer's differ\n";
            alike = false;
        }
        for (const int threads : thread_counts()) {
            const ThreadLimit limit(threads);
            cv::setNumThreads(threads);
            print_row(
                target, n, threads,
                alternated([&] { return time_once(stage); }, [&] { return reference(target); }));
        }
    }
    return alike;
}

}  // namespace

int print_peers(Measured measured) {
    std::cout.imbue(std::locale::classic());
    std::cout << std::fixed << std::setprecision(2);
    if (measured == Measured::model) {
        print_model_peers();
        return 0;
    }
    std::cout << "stage              N threads     ours     ref.   ratio   against  "
                 "acceptable    good\n";
    bool alike = true;
    for (const int n : sizes())
        alike &= measure_size(n);
    print_model_peers();
    return alike ? 0 : 1;
}

}  // namespace vyn::bench
