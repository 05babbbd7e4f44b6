#include "calib/ui/plot_style.h"

#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_text.h>

namespace vyn {

void style_plot(QwtPlot& plot) {
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

}  // namespace vyn
