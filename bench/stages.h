#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "align/displacement_field.h"
#include "api/spline.h"
#include "bench/scene.h"

namespace vyn::bench {

/// Takes what a stage made.
class Sink {
  public:
    virtual ~Sink() = default;
    virtual void take(const image& picture) = 0;
    virtual void take(const Bitmap<float>& plane) = 0;
};

struct Stage {
    std::string name;
    std::function<void(Sink&)> run;
};

/// The scene and what each stage starts from.
struct Inputs {
    explicit Inputs(int n);

    Scene scene;
    std::shared_ptr<const DisplacementField> bending;  ///< the mapping with waves of 1 px
    image corrected_off;
    image corrected_on;
    image undistorted_off;
    image undistorted_on;
    image aligned_on;
    image ratio;
    image field;
    image filter_source;              ///< the wind-off image, its ground excluded
    std::vector<Point> dots;          ///< centres of the dots drawn on `dotted`
    image dotted;                     ///< filter_source with dark dots, one per 64 x 64 pixels
    SplineCoefficients coefficients;  ///< of corrected_off
    Bitmap<float> triad_a;
    Bitmap<float> triad_b;
    Bitmap<float> triad_c;
};

/// Our stages on these inputs, which must outlive them:
/// triad          a = b + 2 c on three float planes: what the memory gives
/// correct_fused  dark level, dark image and flat field of one image
/// prefilter      cubic coefficients of one plane
/// extend_edges   the image's valid values, continued as far as a cubic spline feels them
/// spline_eval    cubic values from ready coefficients at the alignment's positions, which are
///                made row by row as the program does
/// undistort      prefilter, positions, values, mask and region of one image
/// polywarp       the same through the alignment's polynomial
/// mapwarp        the same of a corrected image through a displacement field and the lens together
/// field_fused    ratio, law and limits in one pass that makes both images: the program keeps them
/// sigma          the standard deviation of every pixel of the field
/// medianK, boxK_masked, gaussK_masked, rangeK_masked
///                filters on windows of K x K pixels, K = 3, 5, 9 and 15
/// detect         finding dots all over an image with one per 64 x 64 pixels
/// centroid_surface, centroid_dot
///                refining each of these dots, one after the other (per pixel of the image too)
/// chain          correct and undistort two images, align one, ratio, law, limits
/// chain_once     the same with the aligned image sampled once, through polynomial and lens
std::vector<Stage> our_stages(Inputs& inputs);

/// A digest of all bits of the results of a stage.
std::uint64_t digest(const Stage& stage);

/// Nanoseconds of one run.
double time_once(const Stage& stage);

/// Raises std::runtime_error unless the stage gives the same bits with one and with two threads.
void check_same_bits(const Stage& stage);

}  // namespace vyn::bench
