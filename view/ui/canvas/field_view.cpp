#include "view/ui/canvas/field_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "view/ui/canvas/iso_overlay.h"
#include "view/ui/canvas/vector_overlay.h"
#include "view/ui/canvas/view_frame.h"
#include "view/ui/canvas/view_zoom.h"

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
    std::shared_ptr<const ImageLevels> levels;
    std::shared_ptr<const image> picture;
    QSize size;                         ///< of the image shown last
    ViewSource field;                   ///< the image
    std::optional<ViewSource> instead;  ///< drawn in its place
    QString message;

    Fashion fashion;
    std::optional<colour_map> colours{std::in_place};  // remade, never assigned: see Fashion
    IsoOverlay iso;
    VectorOverlay vectors;
    ViewTransform transform;
    bool fitted = true;
    ViewFrame frame;

    std::vector<const ViewOverlay*> overlays;
    ViewTool* tool = nullptr;
    std::optional<QPointF> pointer;  ///< where the mouse is in the view
    bool space_down = false;
    bool panning = false;
    QPointF pan_start;
    QPointF pan_origin;
};

VynFieldView::VynFieldView(QWidget* parent) : QWidget(parent), state_(std::make_unique<State>()) {
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 120);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(tr("Field View"));
    setWindowTitle(tr("Field View"));
    state_->overlays = {&state_->iso, &state_->vectors};
}

VynFieldView::~VynFieldView() = default;

void VynFieldView::redraw() {
    state_->frame.invalidate();
    update();
}

void VynFieldView::set_picture(std::shared_ptr<const ImageLevels> levels) {
    const auto picture = levels ? levels->shared_picture() : nullptr;
    const bool other_size = picture && state_->size != QSize(picture->width(), picture->height());
    if ((!picture || other_size) && state_->tool) state_->tool->cancel();
    if (picture) state_->size = QSize(picture->width(), picture->height());
    state_->picture = picture;
    state_->levels = std::move(levels);
    state_->field = FieldSource{state_->levels};
    state_->vectors.set_picture(state_->picture);
    state_->iso.set_source(source());
    redraw();
    if (other_size || state_->fitted) fit();
    show_cursor();
    Q_EMIT grid_present(state_->picture && state_->picture->displacement);
    Q_EMIT updated();
    probe_again();
}

const std::shared_ptr<const image>& VynFieldView::picture() const {
    return state_->picture;
}

const std::shared_ptr<const ImageLevels>& VynFieldView::levels() const {
    return state_->levels;
}

void VynFieldView::set_message(const QString& text) {
    state_->message = text;
    update();
}

void VynFieldView::show_instead(std::optional<ViewSource> source) {
    state_->instead = std::move(source);
    state_->iso.set_source(this->source());
    redraw();
    probe_again();
}

const ViewSource& VynFieldView::source() const {
    return state_->instead ? *state_->instead : state_->field;
}

void VynFieldView::set_fashion(const Fashion& fashion) {
    if (fashion == state_->fashion) return;
    state_->fashion = fashion;
    state_->colours.emplace(fashion.limits.minimum, fashion.limits.maximum,
                            fashion.shown_palette());
    state_->iso.set_fashion(fashion, *state_->colours);
    state_->vectors.set_style(fashion.vectors);
    redraw();
    Q_EMIT fashion_changed();
}

const Fashion& VynFieldView::fashion() const {
    return state_->fashion;
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
    redraw();
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

void VynFieldView::probe_again() {
    if (state_->pointer) probe_at(*state_->pointer);
}

void VynFieldView::probe_at(QPointF widget) {
    state_->pointer = widget;
    if (!state_->picture) return;
    const QPointF at = state_->transform.to_image(widget);
    const auto whole = [](double position) {
        return static_cast<int>(std::clamp(std::floor(position + 0.5), -1e6, 1e6));
    };
    const ProbedPixel pixel = vyn::probe(source(), whole(at.x()), whole(at.y()));
    Q_EMIT probe(pixel.x, pixel.y, pixel.value, pixel.background, pixel.in_roi, pixel.has_vectors,
                 pixel.u, pixel.v);
}

QRectF VynFieldView::shown_area() const {
    const ImageSize shown = size_of(source());
    return {state_->transform.to_widget({-0.5, -0.5}),
            state_->transform.to_widget({shown.width - 0.5, shown.height - 0.5})};
}

void VynFieldView::draw_surround(QPainter& painter, const QRectF& area) const {
    const QColor window = palette().color(QPalette::Window);
    if (window.lightness() < 128) {
        // On a dark desktop the bright ground around the image would dazzle.
        QPainterPath around;
        around.addRect(rect());
        around.addRect(area);
        painter.fillPath(around, window);
    }
    painter.setPen(QColor(128, 128, 128));
    painter.drawRect(area);
}

void VynFieldView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setClipRect(rect());
    if (!state_->picture) {
        painter.fillRect(rect(), palette().window());
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap,
                         state_->message);
        return;
    }
    painter.drawImage(QPointF(0, 0),
                      state_->frame.draw(source(), *state_->colours, state_->transform,
                                         QSizeF(size()), devicePixelRatioF()));
    draw_surround(painter, shown_area());
    painter.setRenderHint(QPainter::Antialiasing);
    for (const ViewOverlay* overlay : state_->overlays) {
        painter.save();
        overlay->paint(painter, state_->transform);
        painter.restore();
    }
    if (state_->tool) state_->tool->paint(painter, state_->transform);
}

void VynFieldView::resizeEvent(QResizeEvent*) {
    state_->frame.invalidate();
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
        state_->tool->press(mouse_at(*event, state_->transform));
    }
}

void VynFieldView::mouseMoveEvent(QMouseEvent* event) {
    if (!state_->picture) return;
    if (state_->panning) return pan_with(*event);
    probe_at(event->localPos());
    if (state_->tool) state_->tool->move(mouse_at(*event, state_->transform));
}

void VynFieldView::pan_with(const QMouseEvent& event) {
    ViewTransform moved = state_->transform;
    moved.origin = state_->pan_origin - (event.localPos() - state_->pan_start) / moved.zoom;
    set_transform(held_in_view(moved, size_of(source()), QSizeF(size())));
}

void VynFieldView::mouseReleaseEvent(QMouseEvent* event) {
    if (state_->panning) {
        if (event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) return;
        state_->panning = false;
        show_cursor();
    } else if (state_->picture && state_->tool) {
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
        set_transform(held_in_view(moved, size_of(source()), QSizeF(size())));
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

void VynFieldView::leaveEvent(QEvent* event) {
    state_->pointer.reset();
    QWidget::leaveEvent(event);
}

void VynFieldView::focusOutEvent(QFocusEvent* event) {
    state_->space_down = false;
    show_cursor();
    QWidget::focusOutEvent(event);
}

}  // namespace vyn
