#pragma once

#include <QPalette>

class QwtPlot;

namespace vyn {

/// Colours of a plot follow the palette; grid lines are faint.
void style_plot(QwtPlot& plot);

/// A small title or axis title in the font of the widget.
void set_plot_titles(QwtPlot& plot, const QString& title, const QString& x, const QString& y);

}  // namespace vyn
