#pragma once

#include <QColor>
#include <QPixmap>
#include <map>
#include <optional>
#include <utility>

#include "api/point.h"
#include "markers/marker.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws a sign with a halo of the other lightness, so that it is seen on every colour.
void draw_haloed(QPainter& painter, const QPainterPath& sign, const QColor& colour);

/// What stands beside a marker.
enum class MarkerLabels { numbers, doubted_numbers, none };

/// Draws markers: a ring with four ticks and the number beside it; an inactive marker is a grey
/// ring that is struck through; the current marker has a second ring.
class MarkerOverlay final : public ViewOverlay {
  public:
    explicit MarkerOverlay(QColor colour, MarkerLabels labels = MarkerLabels::numbers)
        : colour_(std::move(colour)), labels_shown_(labels) {}

    void set_shown(bool shown) { shown_ = shown; }
    void set_markers(const MarkerSet& set, std::optional<std::size_t> current);
    /// While a marker is dragged it is drawn there.
    void set_dragged(std::optional<std::size_t> index, Point place);

    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    const QPixmap& sign(double ratio, bool active, bool current) const;
    const QPixmap& label(const QFont& font, double ratio, std::int32_t number, bool active) const;

    QColor colour_;
    MarkerLabels labels_shown_;
    bool shown_ = true;
    MarkerSet set_;
    std::optional<std::size_t> current_;
    std::optional<std::size_t> dragged_;
    Point dragged_to_;
    /// Signs and numbers as pictures, for one ratio of device pixels: outlining them anew is too
    /// slow for a thousand markers.
    mutable std::map<std::pair<bool, bool>, QPixmap> signs_;
    mutable std::map<std::pair<std::int32_t, bool>, QPixmap> labels_;
    mutable double ratio_ = 0;
};

}  // namespace vyn
