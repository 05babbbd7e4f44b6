#pragma once

#include <QColor>
#include <QRectF>
#include <QString>
#include <memory>
#include <vector>

class QwtPlot;
class QwtPlotItem;

namespace vyn {

/// Colours of a plot follow the palette; grid lines are faint.
void style_plot(QwtPlot& plot);

/// Leaves room around data that reach over this range, for symbols at its edges.
void give_margins(QwtPlot& plot, const QRectF& data);

/// A small title (none when empty) and axis titles in the font of the widget.
void set_plot_titles(QwtPlot& plot, const QString& title, const QString& x, const QString& y);

/// A place of a curve with its standard deviation.
struct BandSample {
    double x;
    double value;
    double sigma;
};
/// A band of two standard deviations about a curve, behind it, in its colour.
std::unique_ptr<QwtPlotItem> make_band(const std::vector<BandSample>& samples, QColor colour);

}  // namespace vyn
