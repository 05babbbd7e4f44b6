#include "view/ui/field_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "view/ui/view_zoom.h"

namespace vyn {

namespace {

constexpr double scroll_step = 64;  // of an arrow key, widget pixels
constexpr double small_scroll_step = 4;

ViewMouse mouse_at(const QMouseEvent& event, const ViewTransform& transform) {
    return {transform.to_image(event.localPos()), event.localPos(), event.button(), event.buttons(),
            event.modifiers()};
}

}  // namespace

struct VynFieldView::State {
    std::shared_ptr<const image> picture;
    ViewTransform transform;
    bool fitted = true;
    std::vector<const ViewOverlay*> overlays;
    ViewTool* tool = nullptr;

    bool space_down = false;
    bool panning = false;
    bool drawing = false;  ///< the tool has the left button
    QPointF pan_start;
    QPointF pan_origin;

    QImage frame;  ///< what is shown of the image, in device pixels
    bool frame_valid = false;
};

VynFieldView::VynFieldView(QWidget* parent) : QWidget(parent), state_(std::make_unique<State>()) {
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 120);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(tr("Field View"));
    setWindowTitle(tr("Field View"));
}

VynFieldView::~VynFieldView() = default;

void VynFieldView::set_picture(std::shared_ptr<const image> picture) {
    const auto& old = state_->picture;
    const bool same_size =
        picture && old && picture->width() == old->width() && picture->height() == old->height();
    if (!same_size && state_->tool) state_->tool->cancel();
    state_->picture = std::move(picture);
    state_->frame_valid = false;
    if (!same_size) fit();
    show_cursor();
    update();
    Q_EMIT grid_present(state_->picture && state_->picture->displacement);
    Q_EMIT updated();
}

const std::shared_ptr<const image>& VynFieldView::picture() const {
    return state_->picture;
}

const ViewTransform& VynFieldView::transform() const {
    return state_->transform;
}

void VynFieldView::set_transform(const ViewTransform& transform) {
    state_->fitted = false;
    move_to(transform);
}

void VynFieldView::move_to(const ViewTransform& transform) {
    if (transform == state_->transform) return;
    state_->transform = transform;
    state_->frame_valid = false;
    update();
    Q_EMIT view_changed();
}

void VynFieldView::zoom_one_to_one() {
    zoom_about(QRectF(rect()).center(), 1 / devicePixelRatioF() / state_->transform.zoom);
}

void VynFieldView::fit() {
    state_->fitted = true;
    if (state_->picture)
        move_to(fitted(state_->picture->width(), state_->picture->height(), QSizeF(size())));
}

void VynFieldView::zoom_about(QPointF widget, double factor) {
    set_transform(zoomed(state_->transform, widget, factor));
}

void VynFieldView::set_tool(ViewTool* tool) {
    if (state_->tool) state_->tool->cancel();
    state_->tool = tool;
    state_->drawing = false;
    show_cursor();
    update();
}

ViewTool* VynFieldView::tool() const {
    return state_->tool;
}

void VynFieldView::add_overlay(const ViewOverlay* overlay) {
    state_->overlays.push_back(overlay);
    update();
}

void VynFieldView::remove_overlay(const ViewOverlay* overlay) {
    std::erase(state_->overlays, overlay);
    update();
}

void VynFieldView::show_cursor() {
    if (state_->panning)
        setCursor(Qt::ClosedHandCursor);
    else if (state_->space_down)
        setCursor(Qt::OpenHandCursor);
    else if (state_->picture && state_->tool)
        setCursor(state_->tool->cursor());
    else
        unsetCursor();
}

void VynFieldView::probe_at(QPointF widget) {
    if (!state_->picture) return;
    const QPointF at = state_->transform.to_image(widget);
    const image& picture = *state_->picture;
    const double x = std::floor(at.x() + 0.5);
    const double y = std::floor(at.y() + 0.5);
    const int column = static_cast<int>(std::clamp(x, -1e6, 1e6));
    const int row = static_cast<int>(std::clamp(y, -1e6, 1e6));
    if (!picture.values().contains(column, row)) {
        Q_EMIT probe(column, row, 0, true, false, false, 0, 0);
        return;
    }
    const float value = picture.values()(column, row);
    const bool background = picture.mask()(column, row) != 0 || !std::isfinite(value);
    const bool in_roi = !picture.has_region() || picture.region()(column, row) != 0;
    bool has_vector = false;
    float u = 0;
    float v = 0;
    if (const auto& map = picture.displacement; map && map->step > 0) {
        const int node_x = (column + map->step / 2) / map->step;
        const int node_y = (row + map->step / 2) / map->step;
        has_vector = map->u.contains(node_x, node_y) && map->v.contains(node_x, node_y);
        if (has_vector) {
            u = map->u(node_x, node_y);
            v = map->v(node_x, node_y);
        }
    }
    Q_EMIT probe(column, row, value, background, in_roi, has_vector, u, v);
}

void VynFieldView::render() {
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (state_->frame.size() != pixels) state_->frame = QImage(pixels, QImage::Format_RGB32);
    state_->frame.setDevicePixelRatio(devicePixelRatioF());
    state_->frame.fill(palette().color(QPalette::Mid));
    state_->frame_valid = true;
}

void VynFieldView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (!state_->frame_valid || state_->frame.size() != pixels) render();
    painter.drawImage(QPointF(0, 0), state_->frame);
    if (!state_->picture) return;
    painter.setRenderHint(QPainter::Antialiasing);
    for (const ViewOverlay* overlay : state_->overlays) {
        painter.save();
        overlay->paint(painter, state_->transform);
        painter.restore();
    }
    if (state_->tool) state_->tool->paint(painter, state_->transform);
}

void VynFieldView::resizeEvent(QResizeEvent*) {
    state_->frame_valid = false;
    if (state_->fitted) fit();
    Q_EMIT view_changed();
}

void VynFieldView::wheelEvent(QWheelEvent* event) {
    const int turned = event->angleDelta().y();
    if (!state_->picture || turned == 0) return event->ignore();
    zoom_about(event->position(), zoom_factor(turned / 120.0));
    probe_at(event->position());
    event->accept();
}

void VynFieldView::mousePressEvent(QMouseEvent* event) {
    setFocus(Qt::MouseFocusReason);
    if (!state_->picture) return;
    const bool left = event->button() == Qt::LeftButton;
    if (event->button() == Qt::MiddleButton || (left && state_->space_down)) {
        state_->panning = true;
        state_->pan_start = event->localPos();
        state_->pan_origin = state_->transform.origin;
        show_cursor();
    } else if (state_->tool) {
        state_->drawing = left;
        state_->tool->press(mouse_at(*event, state_->transform));
    }
}

void VynFieldView::mouseMoveEvent(QMouseEvent* event) {
    if (!state_->picture) return;
    if (state_->panning) {
        ViewTransform moved = state_->transform;
        moved.origin = state_->pan_origin - (event->localPos() - state_->pan_start) / moved.zoom;
        set_transform(moved);
        return;
    }
    probe_at(event->localPos());
    if (state_->tool) state_->tool->move(mouse_at(*event, state_->transform));
}

void VynFieldView::mouseReleaseEvent(QMouseEvent* event) {
    if (state_->panning) {
        if (event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) return;
        state_->panning = false;
        show_cursor();
    } else if (state_->picture && state_->tool) {
        state_->drawing = false;
        state_->tool->release(mouse_at(*event, state_->transform));
    }
}

void VynFieldView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (state_->picture && state_->tool && !state_->space_down)
        state_->tool->double_click(mouse_at(*event, state_->transform));
}

void VynFieldView::keyPressEvent(QKeyEvent* event) {
    const double step = event->modifiers() & Qt::ShiftModifier ? small_scroll_step : scroll_step;
    const QPointF middle = QRectF(rect()).center();
    const auto scroll = [&](double dx, double dy) {
        ViewTransform moved = state_->transform;
        moved.origin += QPointF(dx, dy) * step / moved.zoom;
        set_transform(moved);
    };
    switch (event->key()) {
        case Qt::Key_Space:
            if (event->isAutoRepeat()) return;
            state_->space_down = true;
            return show_cursor();
        case Qt::Key_Left:
            return scroll(-1, 0);
        case Qt::Key_Right:
            return scroll(1, 0);
        case Qt::Key_Up:
            return scroll(0, -1);
        case Qt::Key_Down:
            return scroll(0, 1);
        case Qt::Key_Plus:
            return zoom_about(middle, zoom_factor(1));
        case Qt::Key_Minus:
            return zoom_about(middle, zoom_factor(-1));
        case Qt::Key_Home:
            return fit();
        default:
            QWidget::keyPressEvent(event);
    }
}

void VynFieldView::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Space || event->isAutoRepeat())
        return QWidget::keyReleaseEvent(event);
    state_->space_down = false;
    show_cursor();
}

void VynFieldView::focusOutEvent(QFocusEvent* event) {
    state_->space_down = false;
    show_cursor();
    QWidget::focusOutEvent(event);
}

}  // namespace vyn
