#include "calib/ui/paint_fit/paint_fit_plot.h"

#include <QPolygonF>
#include <algorithm>

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include "calib/paint_curves.h"
#include "core/numbers.h"
#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

const QColor cold(0xff1e88e5);
const QColor warm(0xffe53935);

/// From the coldest to the warmest measurement.
QColor colour_at(const paintFeatures& paint, double temperature) {
    const double span = paint.maximal_temperature - paint.minimal_temperature;
    const double share =
        span > 0 ? std::clamp((temperature - paint.minimal_temperature) / span, 0.0, 1.0) : 0;
    const auto mixed = [share](int a, int b) { return static_cast<int>(a + share * (b - a)); };
    return {mixed(cold.red(), warm.red()), mixed(cold.green(), warm.green()),
            mixed(cold.blue(), warm.blue())};
}

}  // namespace

PaintFitPlot::PaintFitPlot(Shows shows, QWidget* parent) : QwtPlot(parent), shows_(shows) {
    const bool law = shows == Shows::law;
    setObjectName(law ? QStringLiteral("law_plot") : QStringLiteral("residual_plot"));
    style_plot(*this);
    if (law)
        set_plot_titles(*this, {}, tr("R"), tr("P, Pa"));
    else
        set_plot_titles(*this, {}, tr("P, Pa"), tr("Law minus table, Pa"));
    setAxisMaxMajor(QwtPlot::yLeft, law ? 6 : 4);
    if (law) {
        insertLegend(new QwtLegend, QwtPlot::TopLegend);
        return;
    }
    auto* zero = new QwtPlotMarker;
    zero->setLineStyle(QwtPlotMarker::HLine);
    zero->setLinePen(palette().color(QPalette::Text));
    zero->attach(this);
}

void PaintFitPlot::show_fit(const PaintTable* table, const PaintFit* fit) {
    detachItems(QwtPlotItem::Rtti_PlotCurve);
    if (table && fit) {
        QPolygonF all;
        for (std::size_t i = 0; i < table->samples.size(); ++i) {
            const PaintSample& sample = table->samples[i];
            const QPointF place = shows_ == Shows::law
                                      ? QPointF(sample.ratio, sample.pressure)
                                      : QPointF(sample.pressure, fit->residuals[i]);
            all.append(place);
            auto* point = new QwtPlotCurve;
            const QColor colour = colour_at(fit->paint, sample.temperature);
            point->setItemAttribute(QwtPlotItem::Legend, false);
            point->setStyle(QwtPlotCurve::NoCurve);
            point->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, colour, QPen(colour), {7, 7}));
            point->setSamples(QVector<QPointF>{place});
            point->attach(this);
        }
        give_margins(*this, all.boundingRect());
        if (shows_ == Shows::law)
            for (const PaintCurve& curve : paint_curves(fit->paint)) {
                const std::string title = "T = " + format_general(curve.temperature, 4) + " C";
                auto* line = new QwtPlotCurve(QString::fromStdString(title));
                line->setSamples({curve.ratios.begin(), curve.ratios.end()},
                                 {curve.pressures.begin(), curve.pressures.end()});
                line->setPen(colour_at(fit->paint, curve.temperature), 1.5);
                line->setRenderHint(QwtPlotItem::RenderAntialiased);
                line->attach(this);
            }
    }
    replot();
}

}  // namespace vyn
