#pragma once

#include <QWidget>
#include <memory>
#include <optional>

#include "render/colour_map.h"
#include "render/fashion.h"
#include "render/view_source.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Shows an image in false colour, with what lies on it.
///
/// The wheel zooms about the pointer in steps of the square root of 2; the middle button, or the
/// left one while space is held, pans; the arrow keys scroll (with Shift by small steps), + and -
/// zoom about the middle, Home fits the image. Everything else the left button does is the tool's.
class VynFieldView : public QWidget {
    Q_OBJECT
  public:
    explicit VynFieldView(QWidget* parent = nullptr);
    ~VynFieldView() override;

    /// Shows another image, or nothing (null). Zoom and position stay when its size is that of the
    /// image shown last; otherwise the image is fitted.
    void set_picture(std::shared_ptr<const ImageLevels> levels);
    const std::shared_ptr<const image>& picture() const;
    /// The image with its reduced copies; null when none is shown.
    const std::shared_ptr<const ImageLevels>& levels() const;
    /// Shown where there is no image.
    void set_message(const QString& text);

    /// Draws and probes something else in the image's place, until called with nothing.
    void show_instead(std::optional<ViewSource> source);

    /// Limits, palette and vectors.
    void set_fashion(const Fashion& fashion);
    const Fashion& fashion() const;

    const ViewTransform& transform() const;
    void set_transform(const ViewTransform& transform);
    /// One image pixel per screen pixel, about the middle of the view.
    void zoom_one_to_one();
    /// The whole image, and so again whenever the view is resized, until the next zoom.
    void fit();
    /// Multiplies the zoom; the image position under this widget position stays there.
    void zoom_about(QPointF widget, double factor);

    /// What the left button does; not owned, null for nothing. The old tool is cancelled first.
    void set_tool(ViewTool* tool);
    ViewTool* tool() const;
    /// Drawn on the image in the order of adding; not owned.
    void add_overlay(const ViewOverlay* overlay);
    void remove_overlay(const ViewOverlay* overlay);

  Q_SIGNALS:
    /// The pointer is on this pixel: value, excluded, inside the region, vector there.
    void probe(int x, int y, float value, bool background, bool in_roi, bool has_vectors, float u,
               float v);
    /// Another image is shown, or none.
    void updated();
    /// Whether the image carries vectors.
    void grid_present(bool present);
    void fashion_changed();
    /// Zoom or position changed.
    void view_changed();
    /// A line was drawn from (x0, y0) to (x1, y1), image positions.
    void more_data(double x0, double y0, double x1, double y1);
    /// What belongs to the image (its markers, its mask) differs from what was saved.
    void modifiedChanged(bool modified);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    struct State;
    void move_to(const ViewTransform& transform);
    void probe_at(QPointF widget);
    /// What lies under the pointer changed.
    void probe_again();
    void show_cursor();
    const ViewSource& source() const;
    QRectF shown_area() const;
    void draw_surround(QPainter& painter, const QRectF& area) const;
    void redraw();
    void pan_with(const QMouseEvent& event);

    std::unique_ptr<State> state_;
};

}  // namespace vyn
