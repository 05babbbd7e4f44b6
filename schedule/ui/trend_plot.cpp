#include "schedule/ui/trend_plot.h"

#include <cmath>

#include <qwt_picker_machine.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_picker.h>
#include <qwt_symbol.h>

#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

std::unique_ptr<QwtPlotCurve> dots(QwtPlot& plot, QColor colour) {
    auto curve = std::make_unique<QwtPlotCurve>();
    curve->setStyle(QwtPlotCurve::NoCurve);
    curve->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, colour, QPen(colour), {5, 5}));
    curve->attach(&plot);
    return curve;
}

}  // namespace

TrendPlot::TrendPlot(QWidget* parent)
    : QwtPlot(parent),
      good_(dots(*this, QColor(0x1e, 0x88, 0xe5))),
      beyond_(dots(*this, QColor(0xd3, 0x2f, 0x2f))),
      limit_(std::make_unique<QwtPlotMarker>()) {
    setObjectName(QStringLiteral("trend_plot"));
    setMinimumHeight(120);
    style_plot(*this);
    limit_->setLineStyle(QwtPlotMarker::HLine);
    limit_->setLinePen(QColor(0xd3, 0x2f, 0x2f), 1, Qt::DashLine);
    auto* picker = new QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, canvas());
    picker->setStateMachine(new QwtPickerClickPointMachine);
    connect(picker, QOverload<const QPointF&>::of(&QwtPlotPicker::selected), this,
            [this](const QPointF& place) {
                Q_EMIT chosen(static_cast<int>(std::lround(place.x())) - 1);
            });
}

TrendPlot::~TrendPlot() = default;

void TrendPlot::show_nothing() {
    good_->setSamples(QVector<QPointF>());
    beyond_->setSamples(QVector<QPointF>());
    limit_->detach();
    set_plot_titles(*this, {}, {}, {});
    replot();
}

void TrendPlot::show_figure(const RunView& run, const FigureInfo& figure) {
    QVector<QPointF> good;
    QVector<QPointF> beyond;
    const std::string name(figure.name);
    for (std::size_t i = 0; i < run.statuses.size(); ++i) {
        if (!run.statuses[i].state) continue;
        const auto value = run.statuses[i].state->figures.find(name);
        if (value == run.statuses[i].state->figures.end()) continue;
        (is_beyond(figure, value->second, run.limits) ? beyond : good)
            .append({static_cast<double>(i + 1), value->second});
    }
    good_->setSamples(good);
    beyond_->setSamples(beyond);
    const auto limit = run.limits.find(name);
    if (limit != run.limits.end()) {
        limit_->setYValue(limit->second);
        limit_->attach(this);
    } else {
        limit_->detach();
    }
    set_plot_titles(*this, {}, tr("point"), {});
    replot();
}

}  // namespace vyn
