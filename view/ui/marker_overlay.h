#pragma once

#include <QColor>
#include <QHash>
#include <QPixmap>
#include <optional>

#include "api/point.h"
#include "markers/marker.h"
#include "view/ui/view_tool.h"

namespace vyn {

/// Draws a sign with a halo, so that it is seen on every colour.
void draw_haloed(QPainter& painter, const QPainterPath& sign, const QColor& colour,
                 Qt::PenStyle style = Qt::SolidLine);

/// Draws markers: a ring with a cross and the number beside it; an inactive marker is a pale dashed
/// ring that is struck through; the current marker has a second ring.
class MarkerOverlay final : public ViewOverlay {
  public:
    explicit MarkerOverlay(QColor colour) : colour_(std::move(colour)) {}

    void set_markers(const MarkerSet& set, std::optional<std::size_t> current);
    /// While a marker is dragged it is drawn there.
    void set_dragged(std::optional<std::size_t> index, Point place);

    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    void paint_marker(QPainter& painter, const Marker& marker, QPointF at, bool current) const;
    const QPixmap& label(QPainter& painter, std::int32_t number, bool active) const;

    QColor colour_;
    MarkerSet set_;
    std::optional<std::size_t> current_;
    std::optional<std::size_t> dragged_;
    Point dragged_to_;
    /// Numbers as pictures: outlining text is too slow for a thousand markers.
    mutable QHash<qint64, QPixmap> labels_;
};

}  // namespace vyn
