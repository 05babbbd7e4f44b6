#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "api/bitmap.h"
#include "api/quantity.h"
#include "api/shared_plane.h"
#include "core/clock_time.h"
#include "markers/marker.h"

namespace vyn {

/// Displacement vectors that a field file can carry beside its values, in pixels; node (c, r)
/// stands for image pixel (c * step, r * step).
struct Displacement {
    Bitmap<float> u;
    Bitmap<float> v;
    int step = 1;
};

/// What an image came from, item by item: files with their digests, settings with their values.
using ImageOrigin = std::map<std::string, std::string>;

/// What a B-spline interpolation takes for the values of excluded pixels: those that are stored, or
/// a smooth continuation of the valid pixels around.
enum class SplineEdges { stored, extended };

/// What an average of frames tells of their noise.
struct FrameStatistics {
    int frames = 1;
    Bitmap<float> variance;  ///< of a single frame at each pixel; NaN where fewer than two tell
};

/// Everything of an image but its pixels.
struct ImageAttributes {
    std::string name;
    std::string file_name;
    std::string
        file_sha256;     ///< digest of the file that the image came from, hexadecimal; may be empty
    ImageOrigin origin;  ///< of a loaded or computed image; empty when unknown
    Quantity quantity;   ///< what the values are
    std::string unit;    ///< of the values; empty for none and when unknown
    int degree = 3;      ///< of the B-spline interpolation, 2 to 5
    SplineEdges edges = SplineEdges::stored;  ///< of the B-spline interpolation
    MarkerSet markers;
    std::optional<Displacement> displacement;

    /// What a reader knows of the file's pixels: largest value that its type can hold (0 = unknown)
    /// and, when some pixel reached it in any averaged frame, where (1 = saturated).
    double full_scale = 0;
    std::optional<double> exposure;  ///< seconds, where the file tells it
    std::optional<ClockTime> taken;  ///< when, likewise
    std::shared_ptr<const Bitmap<std::uint8_t>> saturated;
    /// Of a picture that was averaged from several frames; null for others.
    std::shared_ptr<const FrameStatistics> frames;
};

/// A picture: values, exclusion mask and what belongs to them. Pixel centres lie at whole
/// coordinates, x is the column and y the row.
///
/// An excluded pixel (mask not 0) keeps its value; computations leave it out, but for the
/// interpolation with stored edges, whose splines run through all pixels. Copies share their planes
/// until one of them is written to.
class image : public ImageAttributes {
  public:
    image() = default;
    /// Planes of this size, values unspecified, all valid.
    image(int width, int height)
        : values_(Bitmap<float>(width, height)), mask_(Bitmap<std::uint8_t>(width, height, 0)) {}
    /// Takes both planes. Raises DimError when they differ in size.
    image(Bitmap<float> values, Bitmap<std::uint8_t> mask);

    int width() const { return values_.get().width(); }
    int height() const { return values_.get().height(); }

    /// The planes. Raise AlgoError when the plane does not exist; an empty image (width or height
    /// 0) has its planes. Those that may write make the plane the image's own; a reference to a
    /// plane ends with the next such call.
    Bitmap<float>& values();
    const Bitmap<float>& values() const;
    Bitmap<std::uint8_t>& mask();  ///< 0 = valid, anything else = excluded (background)
    const Bitmap<std::uint8_t>& mask() const;
    Bitmap<std::uint8_t>& region();  ///< 1 = inside the region of interest, 0 = outside
    const Bitmap<std::uint8_t>& region() const;

    ImageAttributes& attributes() { return *this; }
    const ImageAttributes& attributes() const { return *this; }

    bool has_values() const { return has_values_; }
    bool has_mask() const { return has_mask_; }
    bool has_region() const { return has_region_; }

    void set_values(Bitmap<float> values);
    void set_mask(Bitmap<std::uint8_t> mask);
    void set_region(Bitmap<std::uint8_t> region);
    /// The region plane of another image, or none as there; its memory until one is written to.
    void share_region(const image& other);
    /// True when the values of both images are the same memory: nothing computed from values alone
    /// can differ.
    bool shares_values_with(const image& other) const;
    /// The same for values, mask and region.
    bool shares_planes_with(const image& other) const;

    /// Markers, or mask and region, are now as the image's files have them. Copies of the image
    /// know it.
    void note_markers_saved() { saved_markers_ = markers; }
    void note_mask_saved();
    /// True when they differ from what was noted; false when nothing was.
    bool has_unsaved_markers() const { return saved_markers_ && *saved_markers_ != markers; }
    bool has_unsaved_mask() const;

    void drop_values();
    void drop_mask();
    void drop_region();

    /// Sets every byte of the region plane, making the plane when there is none.
    void fill_region(std::uint8_t value);

    /// Raises AlgoError when values or mask are missing, DimError when their sizes differ: what
    /// every pixel operation checks before it changes anything.
    void check_planes() const;

  private:
    SharedPlane<float> values_;
    SharedPlane<std::uint8_t> mask_;
    SharedPlane<std::uint8_t> region_;
    std::optional<MarkerSet> saved_markers_;
    std::optional<SharedPlane<std::uint8_t>> saved_mask_;
    SharedPlane<std::uint8_t> saved_region_;  ///< empty when there was none
    bool has_values_ = true;
    bool has_mask_ = true;
    bool has_region_ = false;
};

}  // namespace vyn
