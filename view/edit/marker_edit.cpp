#include "view/edit/marker_edit.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "view/edit/marker_numbers.h"

namespace vyn {

namespace {

/// About a million changes of single markers.
constexpr std::size_t most_history_bytes = std::size_t{256} << 20;

/// What a set says of all its markers.
MarkerSet header_of(const MarkerSet& set) {
    MarkerSet header;
    header.functionName = set.functionName;
    header.lengthUnit = set.lengthUnit;
    header.hasX = set.hasX;
    header.hasY = set.hasY;
    header.hasZ = set.hasZ;
    header.hasF = set.hasF;
    header.left_out = set.left_out;
    return header;
}

}  // namespace

MarkerEdit::MarkerEdit(MarkerSet set) : set_(std::move(set)), history_(most_history_bytes) {
    if (count() > 0) current_ = 0;
}

void MarkerEdit::add(Point place) {
    Marker marker;
    marker.x = place.x;
    marker.y = place.y;
    marker.id = next_free_number(set_);
    MarkerSet header = header_of(set_);
    header.hasX = header.hasY = true;
    change(count(), 0, {marker}, std::move(header));
    current_ = count() - 1;
}

void MarkerEdit::move(std::size_t index, Point place) {
    Marker marker = at(index);
    marker.x = place.x;
    marker.y = place.y;
    change_one(index, marker);
}

void MarkerEdit::toggle(std::size_t index) {
    Marker marker = at(index);
    marker.active = !marker.active;
    change_one(index, marker);
}

void MarkerEdit::edit(std::size_t index, const Marker& marker) {
    const auto refuse = [](const std::string& why) { throw AlgoError("Algorithm error!", why); };
    if (!std::isfinite(marker.x) || !std::isfinite(marker.y) || !std::isfinite(marker.z))
        refuse("a marker's position is a pair of numbers");
    if (!std::isfinite(marker.f)) refuse("a marker's function value is a number");
    if (marker.id != at(index).id)
        for (const Marker& other : set_.markers)
            if (other.id == marker.id)
                refuse("there is a marker " + std::to_string(marker.id) + " already");
    if (marker == at(index)) return;
    MarkerSet header = header_of(set_);
    if (marker.f != at(index).f) header.hasF = true;
    change(index, 1, {marker}, std::move(header));
}

void MarkerEdit::remove(std::size_t index) {
    change(index, 1, {}, header_of(set_));
}

void MarkerEdit::clear() {
    if (count() > 0) change(0, count(), {}, {});
}

void MarkerEdit::replace(MarkerSet set) {
    if (set == set_) return;
    const MarkerSet header = header_of(set);
    change(0, count(), std::move(set.markers), header);
}

bool MarkerEdit::revise(std::size_t index, const image& picture,
                        const ExtremeSearchOptions& options) {
    Point place{at(index).x, at(index).y};
    if (!refine_marker(picture, place, options.size, options.polarity, options.refinement))
        return false;
    move(index, place);
    return true;
}

std::optional<std::size_t> MarkerEdit::nearest(Point place, double reach) const {
    std::optional<std::size_t> found;
    double best = reach;
    for (std::size_t i = 0; i < count(); ++i) {
        const double distance = std::hypot(at(i).x - place.x, at(i).y - place.y);
        if (distance > best) continue;
        best = distance;
        found = i;
    }
    return found;
}

void MarkerEdit::undo() {
    if (!can_undo()) return;
    const Step& step = history_.undo();
    put(step.first, step.inserted.size(), step.removed, step.header_before);
}

void MarkerEdit::redo() {
    if (!can_redo()) return;
    const Step& step = history_.redo();
    put(step.first, step.removed.size(), step.inserted, step.header_after);
}

void MarkerEdit::set_current(std::optional<std::size_t> index) {
    current_ = index && *index < count() ? index : std::nullopt;
}

void MarkerEdit::go_next() {
    if (count() > 0) current_ = current_ ? (*current_ + 1) % count() : 0;
}

void MarkerEdit::go_prev() {
    if (count() > 0) current_ = (current_.value_or(0) + count() - 1) % count();
}

void MarkerEdit::change(std::size_t first, std::size_t count, std::vector<Marker> inserted,
                        MarkerSet header) {
    const auto begin = set_.markers.begin() + static_cast<std::ptrdiff_t>(first);
    Step step{first, std::vector<Marker>(begin, begin + static_cast<std::ptrdiff_t>(count)),
              std::move(inserted), header_of(set_), std::move(header)};
    put(step.first, count, step.inserted, step.header_after);
    const std::size_t bytes =
        sizeof(Step) + sizeof(Marker) * (step.removed.size() + step.inserted.size());
    history_.push(std::move(step), bytes);
}

void MarkerEdit::put(std::size_t first, std::size_t count, const std::vector<Marker>& markers,
                     const MarkerSet& header) {
    MarkerSet changed = header;
    changed.markers = std::move(set_.markers);
    const auto begin = changed.markers.begin() + static_cast<std::ptrdiff_t>(first);
    const auto gap = changed.markers.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
    changed.markers.insert(gap, markers.begin(), markers.end());
    set_ = std::move(changed);
    if (set_.markers.empty())
        current_.reset();
    else if (!current_ || *current_ >= set_.markers.size())
        current_ = set_.markers.size() - 1;
}

void MarkerEdit::change_one(std::size_t index, const Marker& marker) {
    if (marker != at(index)) change(index, 1, {marker}, header_of(set_));
}

std::string lost_in_text_format(const MarkerSet& set) {
    std::string lost;
    const auto name = [&lost](const char* what) {
        lost += (lost.empty() ? "" : ", ") + std::string(what);
    };
    bool counted = true;
    bool has_f = false;
    bool has_z = false;
    for (std::size_t i = 0; i < set.markers.size(); ++i) {
        const Marker& marker = set.markers[i];
        counted = counted && marker.id == static_cast<std::int32_t>(i + 1);
        has_f = has_f || marker.f != 0;
        has_z = has_z || marker.z != 0;
    }
    if (!counted) name("marker numbers");
    if (set.hasF || has_f) name("function values");
    if (has_z) name("third coordinates");
    return lost;
}

}  // namespace vyn
