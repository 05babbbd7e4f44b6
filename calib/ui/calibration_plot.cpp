#include "calib/ui/calibration_plot.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>
#include <QToolTip>

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_intervalcurve.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include "calib/ui/label_places.h"
#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

constexpr double reach = 9;  // of the pointer, pixels
constexpr int symbol_side = 9;
constexpr std::size_t most_numbers = 250;  // more would only blacken the plot
constexpr QRgb data_colour = 0xff1e88e5;
constexpr QRgb fit_colour = 0xffe53935;
constexpr double band_errors = 2;

/// Titles double as names by which items are replaced.
QString data_title() {
    return QObject::tr("Data");
}
QString fit_title() {
    return QObject::tr("Fitting");
}
QString out_title() {
    return QObject::tr("Taken out");
}
QString band_title() {
    return QObject::tr("±2 standard errors");
}

void remove_item(QwtPlot& plot, const QString& title) {
    for (QwtPlotItem* item : plot.itemList())
        if (item->title().text() == title) {
            item->detach();
            delete item;
        }
}

void add_symbols(QwtPlot& plot, const QString& title, const QVector<QPointF>& points,
                 QwtSymbol::Style style, const QColor& colour) {
    auto* curve = new QwtPlotCurve(title);
    curve->setStyle(QwtPlotCurve::NoCurve);
    curve->setSymbol(new QwtSymbol(style, colour, QPen(colour, 2), {symbol_side, symbol_side}));
    curve->setSamples(points);
    curve->setZ(30);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowSymbol);
    curve->attach(&plot);
}

/// The ports' numbers, placed anew whenever the plot is drawn.
class PortNumbers : public QwtPlotItem {
  public:
    explicit PortNumbers(const std::vector<CalibrationPoint>& points) : points_(points) {
        setZ(40);
    }
    int rtti() const override { return Rtti_PlotUserItem; }

    void draw(QPainter* painter, const QwtScaleMap& x, const QwtScaleMap& y,
              const QRectF& canvas) const override {
        if (points_.size() > most_numbers) return;
        const QFontMetricsF metrics(painter->font());
        QVector<QPointF> places;
        QStringList texts;
        QVector<QSizeF> sizes;
        for (const CalibrationPoint& point : points_) {
            places.append({x.transform(point.ratio), y.transform(point.pressure)});
            texts.append(QString::number(point.number));
            sizes.append({metrics.horizontalAdvance(texts.last()), metrics.height()});
        }
        const QVector<QRectF> labels =
            place_labels(places, sizes, {canvas, symbol_side + 2, curve_places(x, y)});
        const QColor colour = plot()->palette().color(QPalette::Text);
        QColor faint = colour;
        faint.setAlphaF(0.4);
        painter->setRenderHint(QPainter::Antialiasing);
        for (int i = 0; i < labels.size(); ++i) {
            painter->setPen(faint);
            painter->drawLine(label_link(labels[i], places[i], symbol_side));
            painter->setPen(colour);
            painter->drawText(labels[i], Qt::AlignCenter, texts[i]);
        }
    }

  private:
    QVector<QPointF> curve_places(const QwtScaleMap& x, const QwtScaleMap& y) const {
        QVector<QPointF> places;
        for (const QwtPlotItem* item : plot()->itemList(Rtti_PlotCurve)) {
            if (item->title().text() != fit_title()) continue;
            const auto& curve = static_cast<const QwtPlotCurve&>(*item);
            for (std::size_t i = 0; i < curve.dataSize(); ++i)
                places.append({x.transform(curve.sample(static_cast<int>(i)).x()),
                               y.transform(curve.sample(static_cast<int>(i)).y())});
        }
        return places;
    }

    const std::vector<CalibrationPoint>& points_;
};

}  // namespace

CalibrationPlot::CalibrationPlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("calibration_plot"));
    style_plot(*this);
    set_plot_titles(*this, tr("In-Situ Calibration results"), tr("Io/I"), tr("P"));
    insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    canvas()->setMouseTracking(true);
    canvas()->installEventFilter(this);
    (new PortNumbers(points_))->attach(this);
}

void CalibrationPlot::show_points(const std::vector<CalibrationPoint>& points,
                                  const std::vector<bool>& used, const QStringList& hints) {
    points_ = points;
    hints_ = hints;
    remove_item(*this, data_title());
    remove_item(*this, out_title());
    QVector<QPointF> in;
    QVector<QPointF> out;
    for (std::size_t i = 0; i < points.size(); ++i) {
        (used[i] ? in : out).append({points[i].ratio, points[i].pressure});
    }
    add_symbols(*this, data_title(), in, QwtSymbol::Ellipse, QColor(data_colour));
    give_margins(*this, QPolygonF(in + out).boundingRect());
    if (!out.isEmpty()) add_symbols(*this, out_title(), out, QwtSymbol::XCross, QColor(Qt::gray));
    replot();
}

void CalibrationPlot::show_curve(const std::optional<FittedCurve>& curve) {
    remove_item(*this, fit_title());
    if (curve) {
        auto* item = new QwtPlotCurve(fit_title());
        item->setSamples(QVector<double>(curve->ratios.begin(), curve->ratios.end()),
                         QVector<double>(curve->pressures.begin(), curve->pressures.end()));
        item->setPen(QColor(fit_colour), 2);
        item->setRenderHint(QwtPlotItem::RenderAntialiased);
        item->setZ(20);
        item->attach(this);
    }
    replot();
}

void CalibrationPlot::show_band(const InSituFit* fit) {
    remove_item(*this, band_title());
    const auto curve = fit ? fitted_curve(points_, fit->coefficients) : std::nullopt;
    if (curve && fit->covariance) {
        QVector<QwtIntervalSample> band;
        for (std::size_t i = 0; i < curve->ratios.size(); ++i) {
            const double error = band_errors * standard_error_at(*fit, curve->ratios[i]).value();
            band.append(
                {curve->ratios[i], curve->pressures[i] - error, curve->pressures[i] + error});
        }
        auto* item = new QwtPlotIntervalCurve(band_title());
        QColor colour(fit_colour);
        colour.setAlphaF(0.25);
        item->setSamples(band);
        item->setStyle(QwtPlotIntervalCurve::Tube);
        item->setPen(QPen(Qt::NoPen));
        item->setBrush(colour);
        item->setZ(10);
        item->attach(this);
    }
    replot();
}

bool CalibrationPlot::eventFilter(QObject* watched, QEvent* event) {
    if (watched == canvas() && event->type() == QEvent::MouseMove) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const int index = point_at(mouse->pos());
        canvas()->setCursor(index < 0 ? Qt::ArrowCursor : Qt::PointingHandCursor);
        if (index < 0)
            QToolTip::hideText();
        else
            QToolTip::showText(mouse->globalPos(), hints_.value(index), canvas());
    }
    if (watched == canvas() && event->type() == QEvent::MouseButtonRelease) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const int index = mouse->button() == Qt::LeftButton ? point_at(mouse->pos()) : -1;
        if (index >= 0) {
            Q_EMIT point_clicked(index);
            return true;
        }
    }
    return QwtPlot::eventFilter(watched, event);
}

int CalibrationPlot::point_at(QPoint canvas_position) const {
    int nearest = -1;
    double distance = reach;
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const QPointF place(transform(xBottom, points_[i].ratio),
                            transform(yLeft, points_[i].pressure));
        const double away = QLineF(place, canvas_position).length();
        if (away > distance) continue;
        distance = away;
        nearest = static_cast<int>(i);
    }
    return nearest;
}

}  // namespace vyn
