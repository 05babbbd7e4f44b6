#include "calib/ui/paint_plot.h"

#include <qwt_legend.h>
#include <qwt_plot_curve.h>

#include "calib/paint_curves.h"
#include "calib/units.h"
#include "core/numbers.h"
#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

/// From the coldest to the warmest curve; told apart on light and on dark ground.
constexpr QRgb curve_colours[] = {0xff1e88e5, 0xff43a047, 0xffe53935};

QVector<double> samples(const std::vector<double>& values) {
    return {values.begin(), values.end()};
}

}  // namespace

PaintPlot::PaintPlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("paint_plot"));
    style_plot(*this);
    set_plot_titles(*this, {}, tr("R"), tr("P"));
    insertLegend(new QwtLegend, QwtPlot::TopLegend);
    setToolTip(tr("The law at three temperatures, as the numbers enter it"));
}

void PaintPlot::show_paint(const paintFeatures& paint) {
    const UnitMessagesOff preview;
    detachItems(QwtPlotItem::Rtti_PlotCurve);
    const auto curves = paint_curves(paint);
    static_assert(std::tuple_size_v<decltype(paint_curves(paint))> == std::size(curve_colours));
    for (std::size_t i = 0; i < std::size(curve_colours); ++i) {
        const PaintCurve& curve = curves[i];
        const std::string title = "T = " + format_general(curve.temperature, 5);
        auto* item = new QwtPlotCurve(QString::fromStdString(title));
        item->setSamples(samples(curve.ratios), samples(curve.pressures));
        item->setPen(QColor(curve_colours[i]), 2);
        item->setRenderHint(QwtPlotItem::RenderAntialiased);
        item->attach(this);
    }
    replot();
}

}  // namespace vyn
