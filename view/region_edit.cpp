#include "view/region_edit.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vyn {

namespace {

constexpr std::size_t most_history_bytes = std::size_t{64} << 20;

const Bitmap<std::uint8_t>& plane_of(const image& picture, RegionPlane plane) {
    return plane == RegionPlane::excluded ? picture.mask() : picture.region();
}

bool flips(RegionAction action, bool drawn, bool now) {
    switch (action) {
        case RegionAction::add:
            return drawn && !now;
        case RegionAction::remove:
            return drawn && now;
        case RegionAction::only:
            return drawn != now;
        case RegionAction::invert:
            return drawn;
    }
    return false;
}

}  // namespace

RegionEdit::RegionEdit(image picture) : picture_(std::move(picture)), history_(most_history_bytes) {
    picture_.check_planes();
}

bool RegionEdit::take(const image& picture) {
    if (!picture_.shares_planes_with(picture)) return false;
    picture_ = picture;
    return true;
}

bool RegionEdit::draw(RegionPlane plane, RegionAction action, const PixelRuns& runs) {
    const bool from_nothing = action == RegionAction::add || action == RegionAction::only;
    Step step{plane,
              plane == RegionPlane::region && !picture_.has_region(),
              static_cast<std::uint8_t>(from_nothing ? 0 : 1),
              {}};
    step.flipped = changes(step, action, runs);
    if (step.flipped.empty()) return false;
    step.flipped.shrink_to_fit();
    if (step.made_region) picture_.fill_region(step.filled);
    flip(step);
    const std::size_t bytes = sizeof(Step) + step.flipped.size() * sizeof(PixelRun);
    history_.push(std::move(step), bytes);
    return true;
}

PixelRuns RegionEdit::changes(const Step& step, RegionAction action, const PixelRuns& runs) const {
    const image& picture = picture_;
    const auto width = static_cast<std::size_t>(picture.width());
    const std::vector<std::uint8_t> made(width, step.filled);
    return search_rows(picture.height(), [&](int y, PixelRuns& flipped) {
        auto run = std::lower_bound(runs.begin(), runs.end(), y,
                                    [](const PixelRun& r, int row) { return r.y < row; });
        const bool untouched = run == runs.end() || run->y != y;
        if (untouched && action != RegionAction::only) return;
        std::vector<std::uint8_t> drawn(width, 0);
        for (; run != runs.end() && run->y == y; ++run)
            std::fill(drawn.begin() + run->first, drawn.begin() + run->last, std::uint8_t{1});
        const float* values = picture.values().row(y);
        const std::uint8_t* now =
            step.made_region ? made.data() : plane_of(picture, step.plane).row(y);
        for (int x = 0; x < picture.width(); ++x) {
            const bool locked = step.plane == RegionPlane::excluded && !std::isfinite(values[x]);
            if (locked || !flips(action, drawn[static_cast<std::size_t>(x)] != 0, now[x] != 0))
                continue;
            if (flipped.empty() || flipped.back().y != y || flipped.back().last != x)
                flipped.push_back({y, x, x});
            ++flipped.back().last;
        }
    });
}

void RegionEdit::undo() {
    if (!can_undo()) return;
    const Step& step = history_.undo();
    flip(step);
    if (step.made_region) picture_.drop_region();
}

void RegionEdit::redo() {
    if (!can_redo()) return;
    const Step& step = history_.redo();
    if (step.made_region) picture_.fill_region(step.filled);
    flip(step);
}

void RegionEdit::flip(const Step& step) {
    Bitmap<std::uint8_t>& bytes =
        step.plane == RegionPlane::excluded ? picture_.mask() : picture_.region();
    for (const PixelRun& run : step.flipped) {
        std::uint8_t* row = bytes.row(run.y);
        for (int x = run.first; x < run.last; ++x)
            row[x] = row[x] == 0 ? 1 : 0;
    }
}

}  // namespace vyn
