#pragma once

#include <memory>

#include "align/marker_alignment.h"
#include "core/task.h"

namespace vyn {

/// Pairs the markers of two images and hands the outcome over, for the user to look at.
class PairMarkersTask final : public Task {
  public:
    PairMarkersTask(MarkerSet reference, MarkerSet moved, MarkerMatchOptions options,
                    std::shared_ptr<MarkerMatch> match)
        : reference_(std::move(reference)),
          moved_(std::move(moved)),
          options_(options),
          match_(std::move(match)) {}
    TaskOutcome run(TaskContext& context) override {
        context.status("Pairing markers");
        *match_ = match_markers(reference_, moved_, options_);
        return TaskOutcome::done;
    }

  private:
    MarkerSet reference_;
    MarkerSet moved_;
    MarkerMatchOptions options_;
    std::shared_ptr<MarkerMatch> match_;
};

}  // namespace vyn
