#pragma once

#include <QPixmap>
#include <vector>

#include "render/view_source.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws lines of equal value, with their numbers.
class IsoOverlay final : public ViewOverlay {
  public:
    void set_source(const ViewSource& source);
    /// None: nothing is drawn.
    void set_levels(std::vector<double> levels, bool labels);
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    QPixmap draw(const QPainter& onto, const ViewTransform& transform) const;

    ViewSource source_;
    std::vector<double> levels_;
    bool labels_ = true;
    /// What was drawn last, for as long as the view stands still.
    mutable QPixmap drawn_;
    mutable ViewTransform drawn_at_;
};

}  // namespace vyn
