#include "resect/consensus.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vyn {

namespace {

std::size_t pairs_a_draw(StartKind kind) {
    switch (kind) {
        case StartKind::direct_linear:
            return 6;
        case StartKind::plane:
            return 4;
        case StartKind::two_stage:
            return 7;
        default:
            return 3;
    }
}

std::vector<Pose> poses_of(const PinholeCamera& camera, StartKind kind,
                           const std::vector<DotPair>& drawn) {
    switch (kind) {
        case StartKind::direct_linear:
            return direct_linear_poses(camera, drawn);
        case StartKind::plane:
            return plane_poses(camera, drawn);
        case StartKind::two_stage:
            return two_stage_poses(camera, drawn);
        default:
            return three_point_poses(
                {drawn[0].place, drawn[1].place, drawn[2].place},
                {ray_of(camera, drawn[0].pixel), ray_of(camera, drawn[1].pixel),
                 ray_of(camera, drawn[2].pixel)});
    }
}

Consensus judge(const PinholeCamera& camera, const std::vector<DotPair>& pairs, const Pose& pose,
                double reach) {
    Consensus result{pose, {}, 0};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double miss = miss_of(camera, pose, pairs[i]);
        if (miss < reach) result.agreeing.push_back(static_cast<int>(i));
        result.score += std::min(miss * miss, reach * reach);
    }
    return result;
}

/// Draws for a chance of 1e-6 to have missed one without a wrong pair.
std::size_t draws_needed(double share, std::size_t count) {
    constexpr double most = 20'000;
    const double clean = std::pow(share, double(count));
    if (!(clean > 1e-9)) return static_cast<std::size_t>(most);
    if (clean >= 1) return 1;
    return static_cast<std::size_t>(std::clamp(std::log(1e-6) / std::log1p(-clean), 1.0, most));
}

}  // namespace

double miss_of(const PinholeCamera& camera, const Pose& pose, const DotPair& pair) {
    const auto pixel = raw_pixel(camera, pose.in_camera(pair.place));
    if (!pixel) return std::numeric_limits<double>::infinity();
    return std::hypot(pair.pixel.x - pixel->x, pair.pixel.y - pixel->y);
}

std::optional<Consensus> find_consensus(const PinholeCamera& camera,
                                        const std::vector<DotPair>& pairs, StartKind kind,
                                        double reach, std::size_t least, const Progress& progress) {
    constexpr std::size_t fewest_draws = 30;
    const std::size_t count = pairs_a_draw(kind);
    if (pairs.size() < std::max({count, std::size_t{4}, least})) return std::nullopt;
    Dice dice(20240229);
    std::optional<Consensus> best;
    // A pose with fewer agreeing pairs is none; tenfold, as draws of right pairs may fail by noise.
    std::size_t wanted = std::min(draws_needed(0, count),
                                  10 * draws_needed(double(least) / double(pairs.size()), count));
    std::vector<std::size_t> order(pairs.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::vector<DotPair> drawn(count);
    for (std::size_t draw = 0; draw < std::max(wanted, fewest_draws); ++draw) {
        if (draw % 256 == 0) throw_if_aborted(progress);
        for (std::size_t i = 0; i < count; ++i) {
            std::swap(order[i], order[i + dice.below(order.size() - i)]);
            drawn[i] = pairs[order[i]];
        }
        for (const Pose& pose : poses_of(camera, kind, drawn)) {
            Consensus found = judge(camera, pairs, pose, reach);
            if (found.agreeing.size() < least) continue;
            if (best && !(found.score < best->score)) continue;
            wanted = draws_needed(double(found.agreeing.size()) / double(pairs.size()), count);
            best = std::move(found);
        }
    }
    return best;
}

}  // namespace vyn
