#pragma once

#include <QRectF>
#include <QString>

class QwtPlot;

namespace vyn {

/// Colours of a plot follow the palette; grid lines are faint.
void style_plot(QwtPlot& plot);

/// Leaves room around data that reach over this range, for symbols at its edges.
void give_margins(QwtPlot& plot, const QRectF& data);

/// A small title (none when empty) and axis titles in the font of the widget.
void set_plot_titles(QwtPlot& plot, const QString& title, const QString& x, const QString& y);

}  // namespace vyn
