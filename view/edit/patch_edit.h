#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "process/model/painted_patches.h"
#include "view/edit/history.h"

namespace vyn {

/// Patches of a mesh while the user paints them. A stroke of the brush changes faces again and
/// again; `commit` makes one step of what was changed since the last, to be undone and redone.
class PatchEdit {
  public:
    /// Of so many triangles.
    explicit PatchEdit(std::size_t triangles = 0, PaintedPatches patches = {});

    const PaintedPatches& patches() const { return now_; }
    std::size_t count() const { return now_.names.size(); }

    /// False, with nothing changed, where there are as many as there can be.
    bool add(const std::string& name);
    void rename(std::size_t patch, const std::string& name);
    /// Its faces belong to none then.
    void remove(std::size_t patch);
    void paint(const std::vector<std::size_t>& faces, std::size_t patch);
    /// Other patches altogether, of the same mesh.
    void replace(PaintedPatches patches);
    /// Takes the faces off this patch; those of others stay.
    void wipe(const std::vector<std::size_t>& faces, std::size_t patch);
    /// False when nothing changed.
    bool commit();

    bool can_undo() const { return history_.can_undo(); }
    bool can_redo() const { return history_.can_redo(); }
    void undo();
    void redo();

  private:
    /// Faces in a row that all went from one patch to another.
    struct Change {
        std::uint32_t first;
        std::uint32_t count;
        std::uint8_t before;
        std::uint8_t after;
    };
    struct Step {
        std::vector<std::string> names_before;
        std::vector<std::string> names_after;
        std::vector<Change> changes;
    };
    /// Names and faces as on one side of a step.
    void take(const std::vector<std::string>& names, const std::vector<Change>& changes,
              std::uint8_t Change::*side);

    PaintedPatches now_;
    PaintedPatches committed_;
    History<Step> history_;
};

}  // namespace vyn
