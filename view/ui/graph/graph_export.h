#pragma once

#include <QImage>
#include <QString>
#include <filesystem>
#include <string>

class QwtPlot;

namespace vyn {

/// The plot as it is shown, `scale` picture pixels for one of the screen's.
QImage plot_picture(QwtPlot& plot, double scale);

/// Writes the plot as SVG or PDF for those extensions, their texts as text, else as PNG at twice
/// the screen's resolution; atomically. Raises FileError.
void write_plot(QwtPlot& plot, const std::filesystem::path& file);

/// Asks for the file of a plot or of its table, and remembers the answer for that plot of the
/// program's project. Empty when cancelled.
std::string ask_plot_file(QWidget* parent, const QString& caption, const std::string& plot);
std::string ask_table_file(QWidget* parent, const QString& caption, const std::string& plot);

}  // namespace vyn
