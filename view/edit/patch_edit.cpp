#include "view/edit/patch_edit.h"

#include <algorithm>
#include <utility>

namespace vyn {

namespace {
constexpr std::size_t most_history_bytes = std::size_t{64} << 20;
}

PatchEdit::PatchEdit(std::size_t triangles, PaintedPatches patches)
    : now_(std::move(patches)), history_(most_history_bytes) {
    now_.faces.resize(triangles);
    committed_ = now_;
}

bool PatchEdit::add(const std::string& name) {
    if (count() >= PaintedPatches::most) return false;
    now_.names.push_back(name);
    return true;
}

void PatchEdit::rename(std::size_t patch, const std::string& name) {
    now_.names.at(patch) = name;
}

void PatchEdit::remove(std::size_t patch) {
    now_.names.erase(now_.names.begin() + static_cast<std::ptrdiff_t>(patch));
    for (std::uint8_t& number : now_.faces)
        if (number == patch + 1)
            number = 0;
        else if (number > patch + 1)
            --number;
}

void PatchEdit::paint(const std::vector<std::size_t>& faces, std::size_t patch) {
    for (const std::size_t face : faces)
        now_.faces[face] = static_cast<std::uint8_t>(patch + 1);
}

void PatchEdit::wipe(const std::vector<std::size_t>& faces, std::size_t patch) {
    for (const std::size_t face : faces)
        if (now_.faces[face] == patch + 1) now_.faces[face] = 0;
}

void PatchEdit::replace(PaintedPatches patches) {
    patches.faces.resize(now_.faces.size());
    now_ = std::move(patches);
}

bool PatchEdit::commit() {
    if (now_ == committed_) return false;
    Step step{committed_.names, now_.names, {}};
    for (std::size_t i = 0; i < now_.faces.size(); ++i) {
        const std::uint8_t before = committed_.faces[i];
        const std::uint8_t after = now_.faces[i];
        if (before == after) continue;
        auto& changes = step.changes;
        if (!changes.empty() && changes.back().first + changes.back().count == i &&
            changes.back().before == before && changes.back().after == after)
            ++changes.back().count;
        else
            changes.push_back({static_cast<std::uint32_t>(i), 1, before, after});
    }
    const std::size_t bytes = sizeof(Step) + step.changes.size() * sizeof(Change);
    history_.push(std::move(step), bytes);
    committed_ = now_;
    return true;
}

void PatchEdit::take(const std::vector<std::string>& names, const std::vector<Change>& changes,
                     std::uint8_t Change::*side) {
    now_.names = names;
    for (const Change& change : changes)
        std::fill_n(now_.faces.begin() + change.first, change.count, change.*side);
    committed_ = now_;
}

void PatchEdit::undo() {
    const Step& step = history_.undo();
    take(step.names_before, step.changes, &Change::before);
}

void PatchEdit::redo() {
    const Step& step = history_.redo();
    take(step.names_after, step.changes, &Change::after);
}

}  // namespace vyn
