#include "calib/ui/residual_plot.h"

#include <QPolygonF>
#include <cmath>

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

void add_symbols(QwtPlot& plot, const QString& title, const QVector<QPointF>& points,
                 QwtSymbol* symbol) {
    auto* curve = new QwtPlotCurve(title);
    curve->setStyle(QwtPlotCurve::NoCurve);
    curve->setSymbol(symbol);
    curve->setSamples(points);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowSymbol);
    curve->attach(&plot);
}

}  // namespace

ResidualPlot::ResidualPlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("residual_plot"));
    style_plot(*this);
    set_plot_titles(*this, {}, tr("Io/I"), tr("Residual of P"));
    setAxisMaxMajor(QwtPlot::yLeft, 4);
    insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    auto* zero = new QwtPlotMarker;
    zero->setLineStyle(QwtPlotMarker::HLine);
    zero->setLinePen(palette().color(QPalette::Text));
    zero->attach(this);
}

void ResidualPlot::show_residuals(const PortSelection& selection) {
    detachItems(QwtPlotItem::Rtti_PlotCurve);
    QVector<QPointF> fitted;
    QVector<QPointF> left_out;
    for (std::size_t i = 0; i < selection.points().size(); ++i) {
        const double ratio = selection.points()[i].ratio;
        if (selection.is_used(i)) fitted.append({ratio, selection.residual(i)});
        if (const double error = selection.leave_one_out(i); std::isfinite(error))
            left_out.append({ratio, error});
    }
    give_margins(*this, QPolygonF(fitted + left_out).boundingRect());
    const QColor colour(0xff1e88e5);
    const QColor other(0xfffb8c00);
    add_symbols(*this, tr("Fitting"), fitted,
                new QwtSymbol(QwtSymbol::Ellipse, colour, QPen(colour), {7, 7}));
    add_symbols(*this, tr("Leave-one-out"), left_out,
                new QwtSymbol(QwtSymbol::Diamond, Qt::NoBrush, QPen(other, 2), {11, 11}));
    replot();
}

}  // namespace vyn
