#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "api/lens.h"
#include "process/model/association.h"
#include "render/palette.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws markers on the model where the camera would see them: hollow rings with their numbers,
/// dotted where the mesh hides them, and enlarged residuals as arrows coloured by their size.
class AssociationOverlay final : public ViewOverlay {
  public:
    void set_rows(std::vector<AssociationRow> rows) { rows_ = std::move(rows); }
    const std::vector<AssociationRow>& rows() const { return rows_; }
    /// The picture has pixels without this lens's distortion.
    void set_ideal_pixels_of(std::optional<Distortion> lens) { lens_ = lens; }
    void set_shown(bool shown) { shown_ = shown; }
    /// So many times as long as they are; 0 for none. Colours run from 0 to the longest one's.
    void set_residuals(double enlarged, std::shared_ptr<const palette_array> palette);
    /// The ring of a marker that is dragged, and whether a dot is in its reach.
    struct Dragged {
        std::int32_t number = 0;
        Point place;
        std::optional<Point> dot;
    };
    void set_dragged(std::optional<Dragged> dragged) { dragged_ = dragged; }

    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    QPointF place(Point raw, const ViewTransform& transform) const;
    void draw_ring(QPainter& painter, QPointF at, const AssociationRow& row) const;
    void draw_residuals(QPainter& painter, const ViewTransform& transform) const;

    std::vector<AssociationRow> rows_;
    std::optional<Distortion> lens_;
    bool shown_ = false;
    double enlarged_ = 0;
    std::shared_ptr<const palette_array> palette_;
    std::optional<Dragged> dragged_;
};

}  // namespace vyn
