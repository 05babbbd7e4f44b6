#pragma once

#include <QImage>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "markers/marker.h"
#include "process/model/shown_model.h"
#include "render/fashion.h"
#include "render/iso_labels.h"
#include "render/model/model_painter.h"
#include "render/model/model_picture.h"

namespace vyn {

/// What is drawn of a model, and how.
struct ModelDisplay {
    std::string quantity;  ///< empty: the shape alone
    Limits limits;
    std::shared_ptr<const palette_array> palette = std::make_shared<const palette_array>();
    PaletteStyle palette_style;
    bool light = true;
    bool edges = false;
    bool markers = true;
    std::vector<std::uint8_t> hidden_zones;  ///< 1 by zone; may be empty
    std::vector<double> levels;              ///< of isolines, rising
    std::vector<std::uint8_t> patches;       ///< by face, numbers from 1; may be empty
};

/// The model turned in the hand: the left button turns it, the middle one (or Shift and the left)
/// moves it, the right one and the wheel zoom about the pointer. Arrow keys turn, with Shift they
/// move; plus and minus zoom. Drawn at half size while it moves, where it is slow. With a brush the
/// left button paints faces, with Ctrl it takes them off; the right one still zooms, the middle one
/// moves.
class ModelCanvas : public QWidget {
    Q_OBJECT
  public:
    explicit ModelCanvas(QWidget* parent = nullptr);

    void set_model(std::shared_ptr<const ShownModel> model);
    const std::shared_ptr<const ShownModel>& model() const { return model_; }
    void set_display(const ModelDisplay& display);
    const ModelDisplay& display() const { return display_; }
    /// Markers on the model, in the mesh's unit.
    void set_markers(std::vector<Marker> markers);
    /// A line over the model, in the mesh's frame, such as a section's.
    void set_lines(std::vector<std::vector<Vec3>> lines);

    /// Its radius in pixels; 0: none, the left button turns.
    void set_brush(int radius);

    const ModelView& model_view() const { return view_; }
    void set_model_view(const ModelView& view);
    /// From afar, the whole model in the window; degrees as `view_from`.
    void look_from(double azimuth, double elevation);
    /// As one of the mesh's cameras, as large as the window allows.
    void look_as_camera(std::size_t camera);
    /// What is drawn, at full size.
    QImage picture();
    /// What is drawn over the model, but for iso-lines.
    ModelOverlays overlays() const;

    QSize sizeHint() const override { return {900, 700}; }
    QSize minimumSizeHint() const override { return {160, 120}; }

    enum class Stroke { paint, wipe };

  Q_SIGNALS:
    /// The brush went over these faces, those that are seen.
    void painted(const std::vector<std::size_t>& faces, Stroke stroke);
    void stroke_ended();
    /// Under the pointer; nothing beside the model.
    void probed(const std::optional<ModelProbe>& probe);
    void view_changed();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    enum class Detail { whole, half };
    void draw(Detail detail);
    void draw_overlays(QPainter& painter);
    void trace_iso_lines();
    void draw_iso_lines(QPainter& painter);
    const field_data<double>::Quantity* quantity() const;
    Vec3 pivot() const;
    void paint_at(QPoint place, Stroke stroke);
    void fit(std::function<ModelView()> choose);
    void change(const ModelView& view);

    std::shared_ptr<const ShownModel> model_;
    ModelDisplay display_;
    std::vector<Marker> markers_;
    std::vector<std::vector<Vec3>> lines_;
    ModelView view_;
    /// Chooses the view anew in a window of another size; none once the user has moved it.
    std::function<ModelView()> fit_;
    VisibleFaces faces_;  ///< of the picture
    QImage picture_;
    IsoDrawing iso_lines_;  ///< of the picture, in pixels of the widget
    Detail drawn_ = Detail::whole;
    bool stale_ = true;
    double seconds_ = 0;  ///< that a whole picture took
    int brush_ = 0;
    QPoint last_;
    Qt::MouseButton button_ = Qt::NoButton;
};

}  // namespace vyn
