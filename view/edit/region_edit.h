#pragma once

#include <cstdint>
#include <utility>

#include "view/edit/history.h"
#include "view/edit/pixel_runs.h"

namespace vyn {

/// The plane of an image that is drawn into.
enum class RegionPlane {
    excluded,  ///< the exclusion mask: drawn pixels take no part in any computation
    region,    ///< the region of interest
};

/// What becomes of the pixels of a shape.
enum class RegionAction {
    add,     ///< they belong to the plane's set
    remove,  ///< they do not
    only,    ///< they do, and no others
    invert,  ///< they change sides
};

/// Mask and region plane of one image while the user draws into them. Every operation that changes
/// something is one step that can be undone.
///
/// Pixels whose value is not a finite number stay excluded whatever is drawn. An image without
/// region plane gets one with the first shape: empty when pixels are added, else full.
class RegionEdit {
  public:
    /// Raises AlgoError or DimError when the image lacks values or mask.
    explicit RegionEdit(image picture);

    /// The image as edited; copies share its planes.
    const image& picture() const { return picture_; }
    PictureSize size() const { return {picture_.width(), picture_.height()}; }
    /// The same image with other markers, say: takes it and keeps the steps. False, with nothing
    /// changed, when its planes are not these.
    bool take(const image& picture);

    /// True when a pixel changed.
    bool draw(RegionPlane plane, RegionAction action, const RowFlags& shape);
    bool draw(RegionPlane plane, RegionAction action, PixelRuns runs) {
        return draw(plane, action, flags_of(std::move(runs)));
    }

    bool can_undo() const { return history_.can_undo(); }
    bool can_redo() const { return history_.can_redo(); }
    void undo();
    void redo();
    /// Names the present planes; undo and redo come back to it.
    std::uint64_t state() const { return history_.state(); }

  private:
    /// The pixels that changed sides.
    struct Step {
        RegionPlane plane;
        bool made_region;     ///< the region plane came into being
        std::uint8_t filled;  ///< and was filled with this
        PixelRuns flipped;
    };
    PixelRuns changes(const Step& step, RegionAction action, const RowFlags& shape) const;
    void flip(const Step& step);

    image picture_;
    History<Step> history_;
};

}  // namespace vyn
