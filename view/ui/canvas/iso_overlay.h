#pragma once

#include <QColor>
#include <QPixmap>
#include <vector>

#include "render/colour_map.h"
#include "render/fashion.h"
#include "render/view_source.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws lines of equal value, with their numbers.
class IsoOverlay final : public ViewOverlay {
  public:
    void set_source(const ViewSource& source);
    /// The lines of a fashion; none: nothing is drawn.
    void set_fashion(const Fashion& fashion, const colour_map& colours);
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    QColor ink(double level) const;
    QPixmap draw(const QPainter& onto, const ViewTransform& transform) const;

    ViewSource source_;
    std::vector<double> levels_;
    std::vector<QColor> inks_;  ///< by level
    bool labels_ = true;
    /// What was drawn last, for as long as the view stands still.
    mutable QPixmap drawn_;
    mutable ViewTransform drawn_at_;
};

}  // namespace vyn
