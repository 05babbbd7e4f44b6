#pragma once

#include <functional>
#include <memory>

#include "render/hatching.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Hatches the pixels whose standard deviation is above a limit.
class HatchOverlay final : public ViewOverlay {
  public:
    /// Of the size of the image shown; null, or a limit of 0: nothing is hatched.
    void show(std::shared_ptr<const image> sigma, std::function<double()> limit) {
        sigma_ = std::move(sigma);
        limit_ = std::move(limit);
    }
    /// As of now.
    Hatching hatching() const { return {sigma_, limit_ ? limit_() : 0}; }
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    std::shared_ptr<const image> sigma_;
    std::function<double()> limit_;  ///< asked at each painting
};

}  // namespace vyn
