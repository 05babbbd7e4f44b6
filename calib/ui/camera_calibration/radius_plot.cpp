#include "calib/ui/camera_calibration/radius_plot.h"

#include <QPolygonF>
#include <cmath>

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

QPolygonF outward_residuals(const ViewResult& view) {
    QPolygonF points;
    for (const MarkerResult& marker : view.markers) {
        const double x = marker.dot.x - view.camera.lens.cx;
        const double y = marker.dot.y - view.camera.lens.cy;
        const double radius = std::hypot(x, y);
        if (marker.used && radius > 0)
            points.append({radius, (marker.dx * x + marker.dy * y) / radius});
    }
    return points;
}

}  // namespace

RadiusPlot::RadiusPlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("radius_plot"));
    style_plot(*this);
    set_plot_titles(*this, {}, tr("Distance from the image centre, px"),
                    tr("Residual outward, px"));
    setAxisMaxMajor(QwtPlot::yLeft, 4);
    insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    auto* zero = new QwtPlotMarker;
    zero->setLineStyle(QwtPlotMarker::HLine);
    zero->setLinePen(palette().color(QPalette::Text));
    zero->attach(this);
}

void RadiusPlot::show_residuals(const ViewResult* found, const ViewResult* before) {
    detachItems(QwtPlotItem::Rtti_PlotCurve);
    QRectF extent;
    const auto add = [&](const ViewResult* view, const QString& title, QwtSymbol* symbol) {
        auto* curve = new QwtPlotCurve(title);
        curve->setStyle(QwtPlotCurve::NoCurve);
        curve->setSymbol(symbol);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowSymbol);
        if (view) {
            const QPolygonF points = outward_residuals(*view);
            curve->setSamples(points);
            extent = extent.united(points.boundingRect());
        }
        curve->attach(this);
    };
    const QColor old_colour(0xfffb8c00);
    const QColor colour(0xff1e88e5);
    add(before, tr("Record"),
        new QwtSymbol(QwtSymbol::Diamond, Qt::NoBrush, QPen(old_colour, 1.6), {9, 9}));
    add(found, tr("Found"), new QwtSymbol(QwtSymbol::Ellipse, colour, QPen(colour), {7, 7}));
    give_margins(*this, extent);
    replot();
}

}  // namespace vyn
