#pragma once

#include <memory>
#include <vector>

#include "align/dots/extreme_search.h"
#include "core/task.h"

namespace vyn {

/// Markers moved to the middle of their dots, and the numbers of those that found none.
struct RevisedMarkers {
    MarkerSet set;
    std::vector<std::int32_t> stayed;
};

/// Revises every active marker of an image and hands them over; nothing is published.
class ReviseMarkersTask final : public Task {
  public:
    ReviseMarkersTask(std::shared_ptr<const image> picture, ExtremeSearchOptions options,
                      std::shared_ptr<RevisedMarkers> revised)
        : picture_(std::move(picture)), options_(options), revised_(std::move(revised)) {}
    TaskOutcome run(TaskContext& context) override {
        context.status("Revising markers");
        MarkerSet set = picture_->markers;
        revised_->stayed = refine_markers(*picture_, set, options_.size, options_.polarity,
                                          options_.refinement, context);
        revised_->set = std::move(set);
        return TaskOutcome::done;
    }

  private:
    std::shared_ptr<const image> picture_;
    ExtremeSearchOptions options_;
    std::shared_ptr<RevisedMarkers> revised_;
};

}  // namespace vyn
