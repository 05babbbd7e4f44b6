#include "view/ui/graph/plot_style.h"

#include <qwt_painter.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_intervalcurve.h>
#include <qwt_samples.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_text.h>

namespace vyn {

namespace {

/// The same for all plots, so that those above each other share their left edge.
constexpr double label_room = 70;

}  // namespace

void style_plot(QwtPlot& plot) {
    // In pieces, as they are drawn otherwise, each short stretch would begin a dash of its own.
    QwtPainter::setPolylineSplitting(false);
    QwtPainter::setRoundingAlignment(false);  // whole pixels would make smooth curves wobble
    plot.axisScaleDraw(QwtPlot::yLeft)->setMinimumExtent(label_room);
    const QPalette palette = plot.palette();
    plot.setCanvasBackground(palette.brush(QPalette::Base));
    if (auto* canvas = qobject_cast<QwtPlotCanvas*>(plot.canvas())) {
        canvas->setFrameShape(QFrame::StyledPanel);
        canvas->setFrameShadow(QFrame::Plain);
        canvas->setBorderRadius(0);
    }
    auto* grid = new QwtPlotGrid;
    QColor line = palette.color(QPalette::Text);
    line.setAlphaF(0.2);
    grid->setPen(line, 0, Qt::DotLine);
    grid->attach(&plot);
}

void give_margins(QwtPlot& plot, const QRectF& data) {
    constexpr double share = 0.06;
    plot.axisScaleEngine(QwtPlot::xBottom)->setMargins(share * data.width(), share * data.width());
    plot.axisScaleEngine(QwtPlot::yLeft)->setMargins(share * data.height(), share * data.height());
}

void set_plot_titles(QwtPlot& plot, const QString& title, const QString& x, const QString& y) {
    const auto text = [&](const QString& words, bool bold) {
        QwtText styled(words, QwtText::PlainText);
        QFont font = plot.font();
        font.setBold(bold);
        styled.setFont(font);
        return styled;
    };
    plot.setTitle(text(title, true));
    plot.setAxisTitle(QwtPlot::xBottom, text(x, false));
    plot.setAxisTitle(QwtPlot::yLeft, text(y, false));
}

std::unique_ptr<QwtPlotItem> make_band(const std::vector<BandSample>& samples, QColor colour) {
    QVector<QwtIntervalSample> intervals;
    for (const auto& [x, value, sigma] : samples)
        intervals.append({x, value - 2 * sigma, value + 2 * sigma});
    auto band = std::make_unique<QwtPlotIntervalCurve>();
    band->setSamples(intervals);
    band->setStyle(QwtPlotIntervalCurve::Tube);
    band->setPen(QPen(Qt::NoPen));
    colour.setAlphaF(0.25);
    band->setBrush(colour);
    band->setItemAttribute(QwtPlotItem::Legend, false);
    band->setZ(5);  // curves are at 20
    return band;
}

}  // namespace vyn
