#include "resect/resection.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <Eigen/Dense>

#include "core/errors.h"
#include "core/numbers.h"
#include "resect/pairing.h"
#include "resect/report_numbers.h"

namespace vyn {

namespace {

[[noreturn]] void fail(const std::string& why, ErrorPlace at = std::source_location::current()) {
    throw AlgoError("Resection Failed!", why, at);
}

std::string text_of(double number) {
    return format_general(number, 3);
}

std::size_t active_count(const std::vector<Marker>& list) {
    return static_cast<std::size_t>(std::ranges::count_if(list, &Marker::active));
}

void check_input(const std::vector<Marker>& markers, const std::vector<ResectView>& views) {
    if (views.empty()) fail("there is no picture");
    for (const ResectView& view : views) {
        const PinholeCamera& camera = view.camera;
        if (!(camera.fx > 0) || !(camera.fy > 0) || camera.width < 1 || camera.height < 1)
            fail("focus, pixel size or counts are 0: the camera cannot be used");
        for (const Marker& dot : view.dots)
            if (!std::isfinite(dot.x) || !std::isfinite(dot.y)) fail("a dot is not finite");
    }
    for (const Marker& marker : markers)
        if (!std::isfinite(marker.x) || !std::isfinite(marker.y) || !std::isfinite(marker.z))
            fail("marker No " + std::to_string(marker.id) + " is not finite");
}

/// A view with its candidate pairs and what the gate has left of them.
struct Candidate {
    const ResectView* view = nullptr;
    std::vector<DotPair> offered;
    std::vector<DotPair> used;
    Pose pose;
    std::string how;
};

class Resection {
  public:
    Resection(const std::vector<Marker>& markers, const std::vector<ResectView>& views,
              const ResectOptions& options, const Progress& progress)
        : markers_(markers), views_(views), options_(options), progress_(progress) {}

    ResectReport run() {
        for (const ResectView& view : views_)
            candidates_.push_back(start(view));
        settle_gate();
        const auto freed = free_what_can_be_told();
        ResectReport report = tell(freed);
        report.remarks.insert(report.remarks.begin(), remarks_.begin(), remarks_.end());
        return report;
    }

  private:
    std::size_t least_pairs() const {
        return static_cast<std::size_t>(std::max(options_.min_pairs, 4));
    }

    [[noreturn]] void too_few(const ResectView& view, std::size_t paired) const {
        fail(std::to_string(paired) + " markers are paired, " + std::to_string(least_pairs()) +
             " are needed; there are " + std::to_string(active_count(markers_)) +
             " markers on the model and " + std::to_string(active_count(view.dots)) +
             " dots on the picture");
    }

    /// Pairs and a pose that most of them agree with.
    Candidate start(const ResectView& view) {
        Candidate candidate;
        candidate.view = &view;
        if (options_.pairing != PairingKind::by_geometry) {
            candidate.offered = pairs_by_number(markers_, view.dots, options_.image_sigma);
            if (start_by_number(candidate)) return candidate;
            if (options_.pairing == PairingKind::by_number) {
                if (candidate.offered.size() >= least_pairs()) refuse_degenerate(candidate.offered);
                too_few(view, candidate.used.size());
            }
        }
        start_by_geometry(candidate);
        return candidate;
    }

    /// True when the numbers can be trusted: a pose agrees with enough of the pairs and half of
    /// them.
    bool start_by_number(Candidate& candidate) {
        const auto& pairs = candidate.offered;
        if (pairs.size() < least_pairs()) return false;
        refuse_degenerate(pairs);
        std::optional<Consensus> found;
        if (options_.start == StartKind::stored) {
            if (!candidate.view->stored) fail("there is no stored pose to start from");
            found = agreement(candidate.view->camera, pairs, *candidate.view->stored);
        } else {
            found = find_consensus(candidate.view->camera, pairs, options_.start, start_reach(), 4,
                                   progress_);
        }
        if (!found) return false;
        candidate.pose = found->pose;
        refine(candidate, found->agreeing);
        return candidate.used.size() >= least_pairs() && 2 * candidate.used.size() >= pairs.size();
    }

    /// Poses of few pairs carry the noise of their dots further than the fit of all.
    double start_reach() const { return 2 * options_.gate; }

    std::optional<Consensus> agreement(const PinholeCamera& camera,
                                       const std::vector<DotPair>& pairs, const Pose& pose) const {
        // A stored pose is of another picture: what it explains within a wide reach is a start.
        constexpr double wide = 10;
        Consensus found{pose, {}, 0};
        for (std::size_t i = 0; i < pairs.size(); ++i)
            if (miss_of(camera, pose, pairs[i]) < wide * options_.gate)
                found.agreeing.push_back(static_cast<int>(i));
        if (found.agreeing.size() < 4) return std::nullopt;
        return found;
    }

    /// A pose of the pairs that agree, then those within the gate of it, until they stand still.
    void refine(Candidate& candidate, std::vector<int> agreeing) {
        for (int round = 0; round < 20; ++round) {
            candidate.used.clear();
            for (const int i : agreeing)
                candidate.used.push_back(candidate.offered[static_cast<std::size_t>(i)]);
            if (candidate.used.size() < 4) return;
            Adjustment problem = problem_of({candidate}, {});
            adjust(problem, progress_);
            candidate.pose = problem.views[0].pose;
            std::vector<int> next;
            for (std::size_t i = 0; i < candidate.offered.size(); ++i)
                if (miss_of(candidate.view->camera, candidate.pose, candidate.offered[i]) <=
                    options_.gate)
                    next.push_back(static_cast<int>(i));
            if (next == agreeing) return;
            agreeing = std::move(next);
        }
    }

    void start_by_geometry(Candidate& candidate) {
        const ResectView& view = *candidate.view;
        std::optional<GeometryPairing> found;
        if (view.stored)
            found = settle_pairs(view.camera, *view.stored, markers_, view.dots, options_.gate,
                                 options_.image_sigma, progress_);
        const std::size_t shorter = std::min(active_count(markers_), active_count(view.dots));
        if (!found || 2 * found->pairs.size() < shorter)
            found = pairs_by_geometry(view.camera, markers_, view.dots, options_.gate,
                                      options_.image_sigma, progress_);
        if (!found) too_few(view, 0);
        if (10 * found->rival >= 9 * found->pairs.size())
            fail("two pairings explain the dots equally well: " +
                 std::to_string(found->pairs.size()) + " and " + std::to_string(found->rival) +
                 " pairs");
        candidate.offered = found->pairs;
        candidate.used = found->pairs;
        candidate.pose = found->pose;
        candidate.how = "by geometry";
        refuse_degenerate(candidate.used);
        if (candidate.used.size() < least_pairs()) too_few(view, candidate.used.size());
    }

    void refuse_degenerate(const std::vector<DotPair>& pairs) const {
        if (spread_of(pairs).in_line())
            fail("the markers lie on a line: no pose follows from them");
    }

    /// The adjustment of the candidates' pairs; views of equal cameras share their intrinsics.
    Adjustment problem_of(const std::vector<Candidate>& candidates,
                          const std::array<bool, intrinsic_count>& free) const {
        Adjustment problem;
        problem.marker_sigma = options_.marker_sigma;
        problem.loss = options_.loss == RobustLoss::tukey ? RobustLoss::huber : options_.loss;
        for (const Candidate& candidate : candidates) {
            const PinholeCamera& camera = candidate.view->camera;
            const auto known = std::ranges::find_if(problem.cameras, [&](const AdjustCamera& c) {
                return c.camera.fx == camera.fx && c.camera.fy == camera.fy &&
                       c.camera.lens == camera.lens && c.camera.width == camera.width &&
                       c.camera.height == camera.height;
            });
            const auto number = static_cast<int>(known - problem.cameras.begin());
            if (known == problem.cameras.end()) problem.cameras.push_back({camera, free});
            problem.views.push_back({number, candidate.pose, candidate.used});
        }
        return problem;
    }

    /// The gate tightened to 3.5 robust deviations of the residuals, over all views together.
    void settle_gate() {
        constexpr double sigmas = 3.5;
        const auto wanted = wanted_intrinsics();
        for (int round = 0; round < 20; ++round) {
            Adjustment problem = problem_of(candidates_, wanted);
            const AdjustmentReport report = adjust(problem, progress_);
            std::vector<double> lengths;
            for (const auto& view : report.residuals)
                for (const auto& residual : view)
                    lengths.push_back(std::hypot(residual.dx, residual.dy));
            std::ranges::sort(lengths);
            // The length of a residual has the median 1.1774 sigma.
            const double sigma = lengths[lengths.size() / 2] / 1.1774;
            // Never below what the dots' own uncertainty allows: few residuals tell sigma badly.
            const double gate =
                std::min(options_.gate, sigmas * std::max(sigma, options_.image_sigma));
            bool changed = false;
            for (std::size_t v = 0; v < candidates_.size(); ++v) {
                Candidate& candidate = candidates_[v];
                candidate.pose = problem.views[v].pose;
                const PinholeCamera& camera =
                    problem.cameras[static_cast<std::size_t>(problem.views[v].camera)].camera;
                std::vector<DotPair> inside;
                for (DotPair pair : candidate.offered) {
                    const DotPair moved = with_correction(pair, report);
                    if (miss_of(camera, candidate.pose, moved) <= gate) inside.push_back(pair);
                }
                changed |= inside.size() != candidate.used.size();
                candidate.used = std::move(inside);
                if (candidate.used.size() < least_pairs())
                    too_few(*candidate.view, candidate.used.size());
            }
            if (!changed) return;
        }
    }

    static DotPair with_correction(DotPair pair, const AdjustmentReport& report) {
        if (static_cast<std::size_t>(pair.marker) < report.corrections.size())
            pair.place += report.corrections[static_cast<std::size_t>(pair.marker)];
        return pair;
    }

    /// What the user frees and the number of pairs allows.
    std::array<bool, intrinsic_count> wanted_intrinsics() {
        std::array<bool, intrinsic_count> free{options_.free_focus, options_.free_centre,
                                               options_.free_centre, options_.free_a2,
                                               options_.free_a4};
        std::size_t pairs = 0;
        for (const Candidate& candidate : candidates_)
            pairs = std::max(pairs, candidate.used.size());
        const auto hold = [&](Intrinsic which, std::size_t needed, const char* name) {
            bool& flag = free[static_cast<std::size_t>(which)];
            if (!flag || pairs >= needed) return;
            flag = false;
            remark(std::string(name) + " needs " + std::to_string(needed) + " pairs, there are " +
                   std::to_string(pairs) + ": it is held at the record's value");
        };
        hold(Intrinsic::focus, 8, "the focal length");
        hold(Intrinsic::a2, 10, "a2");
        hold(Intrinsic::a4, 15, "a4");
        hold(Intrinsic::cx, 15, "the image centre");
        hold(Intrinsic::cy, 15, "the image centre");
        return free;
    }

    void remark(const std::string& line) {
        if (std::ranges::find(remarks_, line) == remarks_.end()) remarks_.push_back(line);
    }

    struct Answer {
        Adjustment problem;
        AdjustmentReport report;
    };

    /// Frees what was asked for, then holds the weakest intrinsic again while the answer says that
    /// the markers cannot tell it.
    Answer free_what_can_be_told() {
        auto free = wanted_intrinsics();
        while (true) {
            Answer answer{problem_of(candidates_, free), {}};
            if (options_.loss == RobustLoss::tukey) {
                adjust(answer.problem, progress_);
                answer.problem.loss = RobustLoss::tukey;
            }
            answer.report = adjust(answer.problem, progress_);
            const WeakIntrinsic weak = weakest_intrinsic(answer.problem, answer.report);
            if (!weak.found) return answer;
            const std::string plane = plane_words();
            const auto off = [&](Intrinsic which) {
                free[static_cast<std::size_t>(which)] = false;
            };
            std::string what;
            switch (weak.which) {
                case Intrinsic::focus:
                    what = "the focal length";
                    break;
                case Intrinsic::cx:
                case Intrinsic::cy:
                    what = "the image centre";
                    break;
                case Intrinsic::a2:
                    what = "a2";
                    break;
                case Intrinsic::a4:
                    what = "a4";
                    break;
            }
            off(weak.which);
            if (weak.which == Intrinsic::cx || weak.which == Intrinsic::cy) {
                off(Intrinsic::cx);
                off(Intrinsic::cy);
            }
            remark("the markers cannot tell " + what + " (" + weak.words + plane +
                   "): it is held at the record's value");
        }
    }

    std::string plane_words() const {
        const Spread spread = spread_of(candidates_.front().used);
        if (!spread.in_plane()) return "";
        return "; plane, tilted " + text_of(tilt_of(candidates_.front().pose, spread)) + "°";
    }

    ResectReport tell(const Answer& answer) {
        ResectReport report;
        report.condition = answer.report.condition;
        report.strongest_correlation = answer.report.strongest_correlation;
        report.scatter = answer.report.scatter;
        for (std::size_t v = 0; v < candidates_.size(); ++v) {
            ViewResult view = view_numbers(answer.problem, answer.report, v);
            view.name = candidates_[v].view->name;
            view.camera_before = candidates_[v].view->camera;
            view.paired_how = candidates_[v].how.empty() ? "by number" : candidates_[v].how;
            view.dots = active_count(candidates_[v].view->dots);
            check_in_front(view);
            add_left_out(view, candidates_[v], answer.report);
            name_markers(view, candidates_[v]);
            look_at_plane(view, candidates_[v]);
            report.views.push_back(std::move(view));
        }
        return report;
    }

    void check_in_front(const ViewResult& view) const {
        for (const MarkerResult& marker : view.markers)
            if (!(view.pose.in_camera(marker.place).z() > 0))
                fail("the found pose has markers behind the camera");
    }

    void add_left_out(ViewResult& view, const Candidate& candidate,
                      const AdjustmentReport& report) {
        for (const DotPair& pair : candidate.offered) {
            const bool used = std::ranges::any_of(candidate.used, [&](const DotPair& other) {
                return other.marker == pair.marker && other.dot == pair.dot;
            });
            if (used) continue;
            MarkerResult result = marker_numbers(view, with_correction(pair, report));
            result.marker_id = pair.marker;
            result.dot_id = pair.dot;
            view.markers.push_back(result);
            remark("marker No " +
                   std::to_string(markers_[static_cast<std::size_t>(pair.marker)].id) + " is " +
                   text_of(result.length()) + " px off and was left out");
        }
    }

    /// Indices become the numbers that users know.
    void name_markers(ViewResult& view, const Candidate& candidate) const {
        for (MarkerResult& marker : view.markers) {
            marker.marker_id = markers_[static_cast<std::size_t>(marker.marker_id)].id;
            marker.dot_id = candidate.view->dots[static_cast<std::size_t>(marker.dot_id)].id;
            if (marker.used && marker.length() == view.largest) view.largest_at = marker.marker_id;
        }
    }

    /// The second pose of a plane, refined like the first.
    void look_at_plane(ViewResult& view, const Candidate& candidate) {
        const Spread spread = spread_of(candidate.used);
        if (!view.planar) return;
        Candidate other = candidate;
        other.pose = mirrored_pose(view.pose, spread);
        Adjustment problem = problem_of({other}, {});
        problem.cameras[0].camera = view.camera;
        for (const DotPair& pair : other.used)
            if (!raw_pixel(view.camera, other.pose.in_camera(pair.place))) return;
        const AdjustmentReport report = adjust(problem, progress_);
        const ViewResult second = view_numbers(problem, report, 0);
        const double apart =
            vector_of(second.pose.rotation * view.pose.rotation.transpose()).norm();
        constexpr double same_pose = 1e-4;  // radians
        if (apart < same_pose) return;
        view.other_rms = second.rms;
        const bool close = second.rms < 2 * view.rms || second.rms < 2 * options_.image_sigma;
        if (close)
            remark("two poses explain the markers (" + text_of(view.rms) + " px, " +
                   text_of(second.rms) + " px): the first is used, pose_choice 1 takes the other");
        if (options_.pose_choice == ResectOptions::PoseChoice::better) return;
        view.pose = second.pose;
        view.markers.clear();
        for (MarkerResult marker : second.markers)
            view.markers.push_back(marker);
        view.covariance = second.covariance;
        view.other_rms = view.rms;
        view.rms = second.rms;
        view.mean = second.mean;
        view.largest = second.largest;
        view.leave_one_out_rms = second.leave_one_out_rms;
        view.tilt = second.tilt;
        name_markers(view, candidate);
    }

    const std::vector<Marker>& markers_;
    const std::vector<ResectView>& views_;
    const ResectOptions& options_;
    const Progress& progress_;
    std::vector<Candidate> candidates_;
    std::vector<std::string> remarks_;
};

}  // namespace

StartKind start_kind(int number) {
    if (number < 0 || number > 4)
        throw GenericError("Wrong resect type", 0, std::to_string(number), {"resect_coeff"});
    return static_cast<StartKind>(number);
}

ResectReport resect(const std::vector<Marker>& markers, const std::vector<ResectView>& views,
                    const ResectOptions& options, const Progress& progress) {
    start_kind(static_cast<int>(options.start));
    check_input(markers, views);
    return Resection(markers, views, options, progress).run();
}

}  // namespace vyn
