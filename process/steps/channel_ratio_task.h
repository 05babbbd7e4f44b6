#pragma once

#include <memory>
#include <vector>

#include "align/channel_maps.h"
#include "core/task.h"
#include "process/point/raw_images.h"
#include "process/report/run_report.h"

namespace vyn {

/// Forms the ratio image of a point with two channels from its corrected pictures.
///
/// Binary paint: wind-on is aligned to wind-off in each channel, and the reference camera to the
/// signal camera by the wind-off pictures, all by markers; the ratio of ratios is that of the
/// signal channel's wind-off frame. Lifetime: one camera took both gates, so the signal channel's
/// alignment holds for both; without wind-off pictures the ratio is gate 1 over gate 2 of wind-on.
///
/// Every picture that a mapping moves is resampled once, from what its camera took, through mapping
/// and lens together; markers are those of the corrected pictures. Filters work on the four
/// pictures in the common frame. An alignment that fails is reported and the ratio formed as if
/// nothing had moved (outcome done_with_errors). Raises IndexError when cameras of different
/// picture sizes are not mapped to each other by markers.
class ChannelRatioTask final : public Task {
  public:
    explicit ChannelRatioTask(std::shared_ptr<RunReport> report) : report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    using Picture = std::shared_ptr<const image>;
    struct Corrected {
        Picture signal_off;
        Picture signal_on;
        Picture reference_off;
        Picture reference_on;
    };

    image ratio_of_gates(const Corrected& pictures, TaskContext& context) const;
    image ratio_of_ratios(const Corrected& pictures, std::vector<image>& aligned,
                          TaskContext& context);
    ChannelMaps align(const Corrected& pictures, TaskContext& context);
    PolyTransform mapping(const image& reference, const image& moved, MarkerMatchOptions options,
                          std::optional<MarkerMatch>& match);
    Picture in_signal_frame(const RawImage& raw, const Picture& corrected, const image& frame,
                            std::vector<PolyTransform> maps, TaskContext& context) const;

    std::shared_ptr<RunReport> report_;
};

}  // namespace vyn
