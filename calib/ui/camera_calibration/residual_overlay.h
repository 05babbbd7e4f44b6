#pragma once

#include <vector>

#include "resect/resection.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Residuals of markers on their picture: arrows from the dots, so many times as long, coloured by
/// their length.
class ResidualOverlay final : public ViewOverlay {
  public:
    void set_markers(std::vector<MarkerResult> markers) { markers_ = std::move(markers); }
    void set_factor(double factor) { factor_ = factor; }
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    std::vector<MarkerResult> markers_;
    double factor_ = 1;
};

}  // namespace vyn
