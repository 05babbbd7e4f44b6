#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <filesystem>

class QwtPlot;

namespace vyn {

/// The plot as it is shown, `scale` picture pixels for one of the screen's.
QImage plot_picture(QwtPlot& plot, double scale);

/// Writes the plot as SVG for that extension, else as PNG at twice the screen's resolution;
/// atomically. Raises FileError.
void write_plot(QwtPlot& plot, const std::filesystem::path& file);

/// Asks for a file to write; the first pattern of the filter in use is the usual extension. Empty
/// when cancelled.
QString ask_graph_file(QWidget* parent, const QString& caption, const QStringList& filters);

}  // namespace vyn
