#pragma once

#include "markers/marker.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws pressure ports on the ratio image: the square that is averaged around each active port,
/// and its number.
class PortOverlay final : public ViewOverlay {
  public:
    /// The side of the square in pixels.
    void set_ports(MarkerSet ports, int side);
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    MarkerSet ports_;
    int side_ = 0;
};

}  // namespace vyn
