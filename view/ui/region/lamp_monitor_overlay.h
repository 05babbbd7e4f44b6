#pragma once

#include <functional>
#include <optional>

#include "process/point/lamp_monitor.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Outlines the region that shows the lamp alone.
class LampMonitorOverlay final : public ViewOverlay {
  public:
    using Corners = std::function<std::optional<MonitorCorners>()>;
    /// `corners` is asked at each painting, for the image shown.
    explicit LampMonitorOverlay(Corners corners) : corners_(std::move(corners)) {}
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    Corners corners_;
};

}  // namespace vyn
