#include "view/ui/look/histogram_plot.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "render/ticks.h"

namespace vyn {

namespace {

constexpr double reach = 8;  // of a line, widget pixels
constexpr double margin = 10;

}  // namespace

HistogramPlot::HistogramPlot(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::MinimumExpanding);
    setAccessibleName(tr("Histogram"));
    setToolTip(tr("Drag the lines to change the limits"));
}

void HistogramPlot::set_histogram(const Histogram& histogram, const QString& quantity) {
    histogram_ = histogram;
    quantity_ = quantity;
    update();
}

void HistogramPlot::set_limits(const Limits& limits) {
    limits_ = limits;
    update();
}

QRectF HistogramPlot::plot() const {
    return QRectF(rect()).adjusted(margin, 4, -margin, -fontMetrics().height() - 6);
}

double HistogramPlot::x_of(double value) const {
    const Limits& range = histogram_.range;
    const double width = range.maximum - range.minimum;
    const double share = width > 0 ? (value - range.minimum) / width : 0.5;
    // A limit beyond the plot waits at its border.
    return plot().left() + std::clamp(share, 0.0, 1.0) * plot().width();
}

double HistogramPlot::value_at(double x) const {
    const double share = std::clamp((x - plot().left()) / plot().width(), 0.0, 1.0);
    return histogram_.range.minimum + share * (histogram_.range.maximum - histogram_.range.minimum);
}

void HistogramPlot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF area = plot();
    painter.fillRect(area, palette().base());
    std::int64_t highest = 1;
    for (const std::int64_t count : histogram_.counts)
        highest = std::max(highest, count);
    const double bar = area.width() / std::max<double>(1, double(histogram_.counts.size()));
    for (std::size_t i = 0; i < histogram_.counts.size(); ++i) {
        const double share = std::sqrt(double(histogram_.counts[i]) / static_cast<double>(highest));
        painter.fillRect(
            QRectF(area.left() + static_cast<double>(i) * bar,
                   area.bottom() - share * area.height(), bar + 0.5, share * area.height()),
            palette().color(QPalette::PlaceholderText));
    }
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawRect(area);
    const Ticks ticks = make_ticks(histogram_.range.minimum, histogram_.range.maximum,
                                   std::max(2, static_cast<int>(area.width() / 70)));
    for (std::size_t i = 0; i < ticks.values.size(); ++i) {
        const double x = x_of(ticks.values[i]);
        painter.drawLine(QPointF(x, area.bottom()), QPointF(x, area.bottom() + 3));
        const QString text = QString::fromStdString(ticks.texts[i]);
        const double half = fontMetrics().horizontalAdvance(text) / 2.0 + 1;
        const double middle = std::clamp(x, half, std::max(half, width() - half));
        painter.drawText(QRectF(middle - half, area.bottom() + 3, 2 * half, fontMetrics().height()),
                         Qt::AlignCenter, text);
    }
    const QString quantity =
        fontMetrics().elidedText(quantity_, Qt::ElideRight, static_cast<int>(area.width()) - 8);
    // Left of the upper limit where that would cross it.
    const double needed = fontMetrics().horizontalAdvance(quantity) + 8;
    const double upper = x_of(limits_.maximum);
    const double right = upper > area.right() - needed ? upper : area.right();
    painter.drawText(QRectF(area.left(), area.top() + 2, right - 4 - area.left(), needed),
                     Qt::AlignTop | Qt::AlignRight, quantity);
    painter.setPen(QPen(QColor(0x1e, 0x88, 0xe5), 2));
    for (const double limit : {limits_.minimum, limits_.maximum})
        painter.drawLine(QPointF(x_of(limit), area.top()), QPointF(x_of(limit), area.bottom()));
}

HistogramPlot::Grip HistogramPlot::grip_at(double x) const {
    const double to_minimum = std::abs(x - x_of(limits_.minimum));
    const double to_maximum = std::abs(x - x_of(limits_.maximum));
    if (std::min(to_minimum, to_maximum) > reach) return Grip::none;
    return to_minimum < to_maximum || x < x_of(limits_.minimum) ? Grip::minimum : Grip::maximum;
}

void HistogramPlot::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) grip_ = grip_at(event->localPos().x());
}

void HistogramPlot::mouseMoveEvent(QMouseEvent* event) {
    const double x = event->localPos().x();
    if (grip_ == Grip::none) {
        if (grip_at(x) == Grip::none)
            unsetCursor();
        else
            setCursor(Qt::SizeHorCursor);
        return;
    }
    Limits moved = limits_;
    (grip_ == Grip::minimum ? moved.minimum : moved.maximum) = value_at(x);
    if (moved.minimum >= moved.maximum) return;
    limits_ = moved;
    update();
    Q_EMIT limits_dragged(moved);
}

void HistogramPlot::mouseReleaseEvent(QMouseEvent*) {
    grip_ = Grip::none;
}

}  // namespace vyn
