#include "view/ui/model/model_canvas.h"

#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "render/model/model_lines.h"
#include "view/ui/canvas/iso_painting.h"

namespace vyn {

namespace {

/// A slower picture is drawn at half size while the model moves.
constexpr double slow = 0.025;
constexpr double degrees_per_pixel = 0.4;
constexpr double step_degrees = 10;
constexpr double step_pixels = 40;
constexpr double zoom_step = 1.2;
constexpr double usual_azimuth = 30;
constexpr double usual_elevation = 30;

PixelBuffer pixels_of(QImage& picture) {
    return {reinterpret_cast<std::uint32_t*>(picture.bits()), picture.bytesPerLine() / 4};
}

}  // namespace

ModelCanvas::ModelCanvas(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("model_canvas"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void ModelCanvas::set_model(std::shared_ptr<const ShownModel> model) {
    // Another field on the same mesh is seen from where the last one was.
    const bool same = model_ && model && model_->prepared == model->prepared;
    model_ = std::move(model);
    stale_ = true;
    if (model_ && !same) look_from(usual_azimuth, usual_elevation);
    update();
}

void ModelCanvas::set_display(const ModelDisplay& display) {
    display_ = display;
    stale_ = true;
    update();
}

void ModelCanvas::set_markers(std::vector<Marker> markers) {
    markers_ = std::move(markers);
    update();
}

void ModelCanvas::set_lines(std::vector<std::vector<Vec3>> lines) {
    lines_ = std::move(lines);
    update();
}

void ModelCanvas::set_brush(int radius) {
    brush_ = radius;
    update();
}

void ModelCanvas::paint_at(QPoint place, Stroke stroke) {
    if (stale_ || drawn_ != Detail::whole) draw(Detail::whole);
    std::vector<std::size_t> seen;
    for (int y = std::max(place.y() - brush_, 0); y <= std::min(place.y() + brush_, height() - 1);
         ++y)
        for (int x = std::max(place.x() - brush_, 0);
             x <= std::min(place.x() + brush_, width() - 1); ++x) {
            const QPoint off = QPoint(x, y) - place;
            if (QPoint::dotProduct(off, off) > brush_ * brush_) continue;
            if (const auto face = faces_.face(x, y); face != VisibleFaces::nothing)
                seen.push_back(static_cast<std::size_t>(face));
        }
    std::ranges::sort(seen);
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    if (!seen.empty()) Q_EMIT painted(seen, stroke);
}

void ModelCanvas::set_model_view(const ModelView& view) {
    fit([this, view] { return resized(view, std::max(width(), 1), std::max(height(), 1)); });
}

void ModelCanvas::look_from(double azimuth, double elevation) {
    if (!model_) return;
    fit([this, azimuth, elevation] {
        return view_from(azimuth, elevation, model_->mesh, std::max(width(), 1),
                         std::max(height(), 1));
    });
}

void ModelCanvas::look_as_camera(std::size_t camera) {
    if (model_ && camera < model_->mesh.views.size())
        set_model_view(view_of_camera(model_->mesh.views[camera], model_->mm_per_unit, 1));
}

void ModelCanvas::fit(std::function<ModelView()> choose) {
    const ModelView view = choose();
    change(view);
    fit_ = std::move(choose);
}

void ModelCanvas::change(const ModelView& view) {
    fit_ = nullptr;
    view_ = view;
    stale_ = true;
    update();
    Q_EMIT view_changed();
}

const field_data<double>::Quantity* ModelCanvas::quantity() const {
    return model_ ? model_->mesh.find(display_.quantity) : nullptr;
}

Vec3 ModelCanvas::pivot() const {
    return model_ ? model_->surface().middle : Vec3{};
}

void ModelCanvas::draw(Detail detail) {
    const int part = detail == Detail::whole ? 1 : 2;
    const ModelView drawn =
        resized(view_, std::max(view_.width / part, 1), std::max(view_.height / part, 1));
    if (picture_.width() != drawn.width || picture_.height() != drawn.height)
        picture_ = QImage(drawn.width, drawn.height, QImage::Format_RGB32);
    QElapsedTimer clock;
    clock.start();
    Progress quiet;
    ModelLook look;
    look.colours = colour_map(display_.limits.minimum, display_.limits.maximum,
                              styled(*display_.palette, display_.palette_style));
    look.quantity = quantity();
    look.light = display_.light;
    look.edges = display_.edges;
    look.patches = display_.patches;
    look.background = palette().color(QPalette::Base).rgb();
    faces_.draw(model_->mesh, model_->surface(), drawn, display_.hidden_zones, quiet);
    paint_model(model_->mesh, model_->surface(), model_->prepared->normals, faces_, look,
                pixels_of(picture_), quiet);
    trace_iso_lines();
    if (detail == Detail::whole) seconds_ = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    drawn_ = detail;
    stale_ = false;
}

QImage ModelCanvas::picture() {
    if (!model_) return {};
    if (stale_ || drawn_ != Detail::whole) draw(Detail::whole);
    QImage whole = picture_;
    QPainter painter(&whole);
    draw_overlays(painter);
    return whole;
}

void ModelCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!model_) {
        painter.fillRect(rect(), palette().color(QPalette::Base));
        return;
    }
    const bool moving = button_ != Qt::NoButton && !(brush_ > 0 && button_ == Qt::LeftButton);
    const Detail wanted = moving && seconds_ > slow ? Detail::half : Detail::whole;
    if (stale_ || (drawn_ != wanted && !moving)) draw(wanted);
    painter.drawImage(rect(), picture_);
    draw_overlays(painter);
}

ModelOverlays ModelCanvas::overlays() const {
    return {display_.markers ? markers_ : std::vector<Marker>(), lines_};
}

/// Numbers are placed once for a picture, which may be painted often.
void ModelCanvas::trace_iso_lines() {
    iso_lines_ = {};
    if (!quantity() || display_.levels.empty()) return;
    auto lines =
        model_iso_lines(model_->mesh, model_->surface(), faces_, *quantity(), display_.levels);
    const double scale = static_cast<double>(width()) / std::max(picture_.width(), 1);
    for (IsoLine& line : lines)
        for (Point& place : line.places)
            place = {(place.x + 0.5) * scale, (place.y + 0.5) * scale};
    iso_lines_ = number_iso_lines(std::move(lines), QSizeF(size()), font());
}

void ModelCanvas::draw_iso_lines(QPainter& painter) {
    if (iso_lines_.lines.empty()) return;
    const colour_map colours(display_.limits.minimum, display_.limits.maximum,
                             styled(*display_.palette, display_.palette_style));
    paint_iso_drawing(painter, iso_lines_,
                      [&](double level) { return QColor(iso_ink(colours, level)); });
}

void ModelCanvas::draw_overlays(QPainter& painter) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(font());
    draw_iso_lines(painter);
    const auto point_of = [&](const Vec3& place) -> std::optional<QPointF> {
        const auto pixel = pixel_of(view_, place);
        if (!pixel) return std::nullopt;
        return QPointF((*pixel)[0] + 0.5, (*pixel)[1] + 0.5);
    };
    painter.setPen(QPen(palette().color(QPalette::Text), 2));
    for (const auto& line : lines_)
        for (std::size_t i = 1; i < line.size(); ++i) {
            const auto a = point_of(line[i - 1]);
            const auto b = point_of(line[i]);
            if (a && b) painter.drawLine(*a, *b);
        }
    if (brush_ > 0 && underMouse()) {
        painter.setPen(QPen(palette().color(QPalette::Text), 1, Qt::DashLine));
        painter.drawEllipse(QPointF(last_), brush_, brush_);
    }
    if (!display_.markers) return;
    constexpr double radius = 5;
    for (const Marker& marker : markers_) {
        const Vec3 place{marker.x, marker.y, marker.z};
        const auto at = point_of(place);
        if (!at || !rect().contains(at->toPoint())) continue;
        // Behind the surface they are dotted.
        const bool hidden = is_hidden(faces_, place, hidden_lift * model_->surface().diagonal);
        const QColor colour = palette().color(QPalette::Text);
        painter.setPen(QPen(colour, 1.2, hidden ? Qt::DotLine : Qt::SolidLine));
        painter.drawEllipse(*at, radius, radius);
        if (!hidden)
            painter.drawText(*at + QPointF(radius + 1, -radius), QString::number(marker.id));
    }
}

void ModelCanvas::resizeEvent(QResizeEvent*) {
    if (fit_)
        fit(fit_);
    else if (view_.width > 0)
        change(resized(view_, std::max(width(), 1), std::max(height(), 1)));
}

void ModelCanvas::mousePressEvent(QMouseEvent* event) {
    button_ = event->button();
    if (button_ == Qt::LeftButton && event->modifiers().testFlag(Qt::ShiftModifier))
        button_ = Qt::MiddleButton;
    last_ = event->pos();
    if (brush_ > 0 && button_ == Qt::LeftButton && model_)
        paint_at(last_,
                 event->modifiers().testFlag(Qt::ControlModifier) ? Stroke::wipe : Stroke::paint);
}

void ModelCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (!model_) return;
    const QPoint step = event->pos() - last_;
    last_ = event->pos();
    switch (button_) {
        case Qt::LeftButton:
            if (brush_ > 0)
                return paint_at(last_, event->modifiers().testFlag(Qt::ControlModifier)
                                           ? Stroke::wipe
                                           : Stroke::paint);
            change(turned(view_, pivot(), degrees_per_pixel * step.x(),
                          -degrees_per_pixel * step.y()));
            return;
        case Qt::MiddleButton:
            change(panned(view_, step.x(), step.y()));
            return;
        case Qt::RightButton:
            change(zoomed(view_, std::pow(1.01, -step.y()), last_.x(), last_.y()));
            return;
        default:
            break;
    }
    if (brush_ > 0) update();
    if (stale_ || drawn_ != Detail::whole) return;
    Q_EMIT probed(probe_model(model_->mesh, model_->surface(), faces_, quantity(), event->pos().x(),
                              event->pos().y()));
}

void ModelCanvas::mouseReleaseEvent(QMouseEvent*) {
    const bool painted = brush_ > 0 && button_ == Qt::LeftButton;
    button_ = Qt::NoButton;
    if (painted) Q_EMIT stroke_ended();
    update();
}

void ModelCanvas::wheelEvent(QWheelEvent* event) {
    const double steps = event->angleDelta().y() / 120.0;
    change(zoomed(view_, std::pow(zoom_step, steps), event->position().x(), event->position().y()));
}

void ModelCanvas::keyPressEvent(QKeyEvent* event) {
    const bool move = event->modifiers().testFlag(Qt::ShiftModifier);
    const auto step = [&](double x, double y) {
        change(move ? panned(view_, step_pixels * x, step_pixels * y)
                    : turned(view_, pivot(), step_degrees * x, -step_degrees * y));
    };
    const double x = (view_.width - 1) / 2.0;
    const double y = (view_.height - 1) / 2.0;
    switch (event->key()) {
        case Qt::Key_Left:
            return step(-1, 0);
        case Qt::Key_Right:
            return step(1, 0);
        case Qt::Key_Up:
            return step(0, -1);
        case Qt::Key_Down:
            return step(0, 1);
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return change(zoomed(view_, zoom_step, x, y));
        case Qt::Key_Minus:
            return change(zoomed(view_, 1 / zoom_step, x, y));
        default:
            if (event->key() >= Qt::Key_1 && event->key() <= Qt::Key_9 &&
                event->modifiers() == Qt::NoModifier)
                return look_as_camera(static_cast<std::size_t>(event->key() - Qt::Key_1));
            QWidget::keyPressEvent(event);
    }
}

void ModelCanvas::leaveEvent(QEvent*) {
    Q_EMIT probed(std::nullopt);
}

}  // namespace vyn
