#include "view/ui/canvas/colour_bar.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "render/ticks.h"

namespace vyn {

namespace {

constexpr double bar_width = 20;
constexpr double margin = 8;
constexpr double tick_length = 4;

}  // namespace

QImage ramp_picture(const palette_array& palette, Qt::Orientation orientation) {
    // The last colour of all is that of the upper limit alone.
    const int count = std::max(1, palette.last - palette.first);
    const bool level = orientation == Qt::Horizontal;
    QImage picture(level ? count : 1, level ? 1 : count, QImage::Format_RGB32);
    for (int i = 0; i < count; ++i) {
        const auto entry = static_cast<std::size_t>(std::min(palette.first + i, 255));
        picture.setPixel(level ? i : 0, level ? 0 : count - 1 - i, palette.entries[entry].argb());
    }
    return picture;
}

ColourBar::ColourBar(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
    setAccessibleName(tr("Colour bar"));
    setToolTip(tr("Drag the ends to change the limits, the middle to move both"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

void ColourBar::set_fashion(const Fashion& fashion) {
    fashion_ = fashion;
    updateGeometry();
    update();
}

void ColourBar::set_label(const QString& label) {
    label_ = label;
    updateGeometry();
    update();
}

QSize ColourBar::sizeHint() const {
    const Ticks ticks = make_ticks(fashion_.limits.minimum, fashion_.limits.maximum, 8);
    int widest = fontMetrics().horizontalAdvance(QStringLiteral("-00.00"));
    for (const auto& text : ticks.texts)
        widest = std::max(widest, fontMetrics().horizontalAdvance(QString::fromStdString(text)));
    const int with_ticks = static_cast<int>(2 * margin + bar_width + 2 * tick_length) + widest;
    const int longest_label = fontMetrics().averageCharWidth() * 20;
    const int with_label = std::min(fontMetrics().horizontalAdvance(label_), longest_label) +
                           static_cast<int>(2 * margin);
    return {std::max(with_ticks, with_label), 200};
}

QSize ColourBar::minimumSizeHint() const {
    return {sizeHint().width(), 80};
}

QRectF ColourBar::ramp() const {
    const double line = fontMetrics().height();
    return {margin, margin + line, bar_width, std::max(1.0, height() - 2 * margin - 1.5 * line)};
}

double ColourBar::value_at(double widget_y) const {
    const QRectF bar = ramp();
    const double share = (bar.bottom() - widget_y) / bar.height();
    return fashion_.limits.minimum + share * (fashion_.limits.maximum - fashion_.limits.minimum);
}

void ColourBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF bar = ramp();
    painter.setPen(palette().color(QPalette::WindowText));
    const double line = fontMetrics().height();
    painter.drawText(
        QRectF(margin, margin / 2, width() - margin, line), Qt::AlignLeft | Qt::AlignVCenter,
        fontMetrics().elidedText(label_, Qt::ElideRight, static_cast<int>(width() - margin)));
    painter.drawImage(bar, ramp_picture(fashion_.shown_palette(), Qt::Vertical));
    painter.drawRect(bar);

    const Limits& limits = fashion_.limits;
    const int most = std::max(2, static_cast<int>(bar.height() / (2.5 * line)));
    const Ticks ticks = make_ticks(limits.minimum, limits.maximum, most);
    for (std::size_t i = 0; i < ticks.values.size(); ++i) {
        const double share = (ticks.values[i] - limits.minimum) / (limits.maximum - limits.minimum);
        const double y = bar.bottom() - share * bar.height();
        painter.drawLine(QPointF(bar.right(), y), QPointF(bar.right() + tick_length, y));
        painter.drawText(QRectF(bar.right() + 2 * tick_length, y - line / 2, width(), line),
                         Qt::AlignLeft | Qt::AlignVCenter, QString::fromStdString(ticks.texts[i]));
    }
}

ColourBar::Grip ColourBar::grip_at(QPointF widget) const {
    const QRectF bar = ramp();
    const double reach = std::min(24.0, bar.height() / 4);
    if (widget.x() > bar.right() + 2 * tick_length) return Grip::none;
    if (std::abs(widget.y() - bar.top()) <= reach) return Grip::maximum;
    if (std::abs(widget.y() - bar.bottom()) <= reach) return Grip::minimum;
    return bar.contains(widget) ? Grip::both : Grip::none;
}

void ColourBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    grip_ = grip_at(event->localPos());
    grip_y_ = event->localPos().y();
    grip_limits_ = fashion_.limits;
}

void ColourBar::mouseMoveEvent(QMouseEvent* event) {
    if (grip_ == Grip::none) {
        const Grip under = grip_at(event->localPos());
        if (under == Grip::none)
            unsetCursor();
        else
            setCursor(under == Grip::both ? Qt::OpenHandCursor : Qt::SizeVerCursor);
        return;
    }
    const double range = grip_limits_.maximum - grip_limits_.minimum;
    const double by = (event->localPos().y() - grip_y_) / ramp().height();
    Limits moved = grip_limits_;
    if (grip_ == Grip::maximum) moved.maximum -= std::min(by, 0.99) * range;
    if (grip_ == Grip::minimum) moved.minimum -= std::max(by, -0.99) * range;
    if (grip_ == Grip::both) {
        moved.minimum += by * range;
        moved.maximum += by * range;
    }
    change(moved);
}

void ColourBar::mouseReleaseEvent(QMouseEvent*) {
    grip_ = Grip::none;
}

void ColourBar::wheelEvent(QWheelEvent* event) {
    const double factor = std::exp2(-event->angleDelta().y() / 120.0 / 4);
    const double fixed = value_at(event->position().y());
    change({fixed + (fashion_.limits.minimum - fixed) * factor,
            fixed + (fashion_.limits.maximum - fixed) * factor});
    event->accept();
}

void ColourBar::change(Limits limits) {
    if (!complaint_about(limits).empty() || limits.minimum == limits.maximum) return;
    Q_EMIT limits_dragged(limits);
}

}  // namespace vyn
