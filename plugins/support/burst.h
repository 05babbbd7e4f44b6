#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "api/image.h"

namespace vyn::plugins {

/// Turns the frames of a file into one picture: their average in 64-bit. A pixel that is not finite
/// in some frame is averaged over the others; one that is finite in no frame is excluded and keeps
/// its value in the last frame. The picture knows how its frames scatter.
class Burst {
  public:
    /// `full_scale`: largest value that the pixel type can hold; 0 when it has none. A pixel that
    /// reaches it in any frame counts as saturated.
    Burst(int width, int height, int frames, double full_scale);

    /// Row y of a frame, `width` values; each frame brings each row once, in any order.
    void add_row(int y, const double* values);

    /// The picture; writes a log line naming the file when there was more than one frame.
    image take(const std::filesystem::path& file);

  private:
    void note_saturation(int y, const double* values);
    void accumulate(int y, const double* values);
    void average();
    FrameStatistics statistics() const;

    int frames_;
    double full_scale_;
    Bitmap<float> values_;
    Bitmap<double> sums_;           ///< empty for a single frame
    Bitmap<double> squares_;        ///< likewise
    Bitmap<std::uint32_t> counts_;  ///< of finite frames; empty for a single frame
    std::shared_ptr<Bitmap<std::uint8_t>> saturated_;
};

}  // namespace vyn::plugins
