#pragma once

#include <memory>

#include "align/dots/marker_detection.h"
#include "core/task.h"

namespace vyn {

/// Finds what may be a dot in one image and hands it over for the user to look at; nothing is
/// published.
class DetectMarkersTask final : public Task {
  public:
    DetectMarkersTask(std::shared_ptr<const image> picture, DetectionOptions options,
                      std::shared_ptr<DotCandidates> found)
        : picture_(std::move(picture)), options_(options), found_(std::move(found)) {}
    TaskOutcome run(TaskContext& context) override {
        context.status("Finding markers");
        *found_ = find_candidates(*picture_, options_, context);
        return TaskOutcome::done;
    }

  private:
    std::shared_ptr<const image> picture_;
    DetectionOptions options_;
    std::shared_ptr<DotCandidates> found_;
};

}  // namespace vyn
