#include "view/edit/region_edit.h"

#include <algorithm>
#include <span>
#include <vector>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr std::size_t most_history_bytes = std::size_t{64} << 20;

const Bitmap<std::uint8_t>& plane_of(const image& picture, RegionPlane plane) {
    return plane == RegionPlane::excluded ? picture.mask() : picture.region();
}

/// Where pixels change sides: 1 in `flags`, which hold what is drawn until then.
void find_flips(RegionAction action, std::span<const std::uint8_t> now,
                std::span<std::uint8_t> flags) {
    const auto each = [&](auto flips) {
        for (std::size_t x = 0; x < flags.size(); ++x)
            flags[x] = static_cast<std::uint8_t>(flips(flags[x], now[x] != 0 ? 1 : 0));
    };
    switch (action) {
        case RegionAction::add:
            return each([](int drawn, int set) { return drawn & ~set; });
        case RegionAction::remove:
            return each([](int drawn, int set) { return drawn & set; });
        case RegionAction::only:
            return each([](int drawn, int set) { return drawn ^ set; });
        case RegionAction::invert:
            return;
    }
}

void keep_finite(std::span<const float> values, std::span<std::uint8_t> flags) {
    for (std::size_t x = 0; x < flags.size(); ++x)
        if (!(values[x] - values[x] == 0)) flags[x] = 0;
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

bool RegionEdit::draw(RegionPlane plane, RegionAction action, const RowFlags& shape) {
    const bool from_nothing = action == RegionAction::add || action == RegionAction::only;
    Step step{plane,
              plane == RegionPlane::region && !picture_.has_region(),
              static_cast<std::uint8_t>(from_nothing ? 0 : 1),
              {}};
    step.flipped = changes(step, action, shape);
    if (step.flipped.empty()) return false;
    if (step.made_region) picture_.fill_region(step.filled);
    flip(step);
    const std::size_t bytes = sizeof(Step) + step.flipped.size() * sizeof(PixelRun);
    history_.push(std::move(step), bytes);
    return true;
}

PixelRuns RegionEdit::changes(const Step& step, RegionAction action, const RowFlags& shape) const {
    const image& picture = picture_;
    const auto width = static_cast<std::size_t>(picture.width());
    const std::vector<std::uint8_t> made(width, step.filled);
    return search_rows(picture.height(), [&](int y, PixelRuns& flipped) {
        std::vector<std::uint8_t> flags(width, 0);
        if (!shape(y, flags) && action != RegionAction::only) return;
        const std::uint8_t* now =
            step.made_region ? made.data() : plane_of(picture, step.plane).row(y);
        find_flips(action, {now, width}, flags);
        if (step.plane == RegionPlane::excluded)
            keep_finite({picture.values().row(y), width}, flags);
        add_runs(y, flags, flipped);
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
    constexpr int block = 1 << 14;
    Progress progress;
    const auto flip_some = [&](int first, int last) {
        for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(last); ++i) {
            const PixelRun& run = step.flipped[i];
            std::uint8_t* row = bytes.row(run.y);
            for (int x = run.first; x < run.last; ++x)
                row[x] = row[x] == 0 ? 1 : 0;
        }
    };
    parallel_rows(static_cast<int>(step.flipped.size()), block, progress, flip_some);
}

}  // namespace vyn
