#pragma once

#include <memory>
#include <vector>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// An image with copies of it at a half, a quarter, ... of its size, for showing it small at once.
///
/// A pixel of a smaller level is the mean of the valid, finite pixels of the 2 x 2 below it, and
/// background where more than half of them are excluded, likewise outside the region. The levels
/// together take a third of the image's own memory.
class ImageLevels {
  public:
    /// Raises AlgoError or DimError for an image without matching values and mask. An image of
    /// other size in its region plane counts as one without region.
    explicit ImageLevels(std::shared_ptr<const image> picture);
    /// Takes the copies of an earlier image (or null) where this one has the same planes, as after
    /// a change of its markers.
    ImageLevels(std::shared_ptr<const image> picture, const ImageLevels* earlier,
                Progress& progress);

    const image& picture() const { return *picture_; }
    const std::shared_ptr<const image>& shared_picture() const { return picture_; }

    struct Level {
        const Bitmap<float>* values;
        const Bitmap<std::uint8_t>* mask;    ///< not 0 = background
        const Bitmap<std::uint8_t>* region;  ///< 0 = outside; null: inside everywhere
    };
    int count() const { return static_cast<int>(reduced_->size()) + 1; }
    /// Level k has pixels of 2^k image pixels; 0 is the image itself.
    Level level(int k) const;
    /// The smallest level that has at least one pixel per screen pixel at this zoom (screen pixels
    /// per image pixel).
    int level_for(double zoom) const;

  private:
    struct Reduced {
        Bitmap<float> values;
        Bitmap<std::uint8_t> mask;
        Bitmap<std::uint8_t> region;
    };
    void take_planes(const ImageLevels* earlier, Progress& progress);
    static Reduced halved(const Level& level, Progress& progress);

    std::shared_ptr<const image> picture_;
    bool has_region_ = false;
    std::shared_ptr<const std::vector<Reduced>> reduced_;
};

}  // namespace vyn
