#pragma once

#include <memory>

#include "align/dots/marker_detection.h"
#include "core/task.h"

namespace vyn {

/// Finds the dots of one image and hands them over as numbered markers, for the user to look at;
/// nothing is published.
class DetectMarkersTask final : public Task {
  public:
    DetectMarkersTask(std::shared_ptr<const image> picture, DetectionOptions options,
                      std::shared_ptr<MarkerSet> found)
        : picture_(std::move(picture)), options_(options), found_(std::move(found)) {}
    TaskOutcome run(TaskContext& context) override {
        context.status("Finding markers");
        *found_ = find_markers(*picture_, options_, context);
        return TaskOutcome::done;
    }

  private:
    std::shared_ptr<const image> picture_;
    DetectionOptions options_;
    std::shared_ptr<MarkerSet> found_;
};

}  // namespace vyn
