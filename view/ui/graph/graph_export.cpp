#include "view/ui/graph/graph_export.h"

#include <QBuffer>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <qwt_plot.h>
#include <qwt_plot_renderer.h>

#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/ui/file_question.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

void render(QwtPlot& plot, QPainter& painter) {
    QwtPlotRenderer().render(&plot, &painter, QRectF(QPointF(0, 0), QSizeF(plot.size())));
}

QByteArray svg_bytes(QwtPlot& plot) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QSvgGenerator drawing;
    drawing.setOutputDevice(&buffer);
    drawing.setSize(plot.size());
    drawing.setViewBox(QRect(QPoint(0, 0), plot.size()));
    QPainter painter(&drawing);
    render(plot, painter);
    painter.end();
    return bytes;
}

/// One page, as large as the plot is on the screen.
QByteArray pdf_bytes(QwtPlot& plot) {
    constexpr double points_per_inch = 72;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter document(&buffer);
    const int resolution = plot.logicalDpiX();
    document.setResolution(resolution);
    document.setPageSize(QPageSize(QSizeF(plot.size()) * points_per_inch / resolution,
                                   QPageSize::Point, {}, QPageSize::ExactMatch));
    document.setPageMargins({});
    QPainter painter(&document);
    render(plot, painter);
    painter.end();
    return bytes;
}

QByteArray png_bytes(QwtPlot& plot) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    plot_picture(plot, 2).save(&buffer, "PNG");
    return bytes;
}

}  // namespace

QImage plot_picture(QwtPlot& plot, double scale) {
    QImage picture((QSizeF(plot.size()) * scale).toSize(), QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    picture.fill(plot.palette().color(QPalette::Window));
    QPainter painter(&picture);
    render(plot, painter);
    return picture;
}

void write_plot(QwtPlot& plot, const std::filesystem::path& file) {
    const std::string type = lower_extension(file);
    const QByteArray bytes = type == "svg"   ? svg_bytes(plot)
                             : type == "pdf" ? pdf_bytes(plot)
                                             : png_bytes(plot);
    write_file(file, std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

std::string ask_plot_file(QWidget* parent, const QString& caption, const std::string& plot) {
    return ask_save_file(parent, {caption,
                                  QObject::tr("Picture (*.png);;Drawing (*.svg);;Document (*.pdf)"),
                                  QStringLiteral("png"),
                                  output_folder(vyn_db()).string(),
                                  {},
                                  purpose_in_project(vyn_db(), "picture of " + plot)});
}

std::string ask_table_file(QWidget* parent, const QString& caption, const std::string& plot) {
    return ask_save_file(parent, {caption,
                                  QObject::tr("Table (*.csv)"),
                                  QStringLiteral("csv"),
                                  output_folder(vyn_db()).string(),
                                  {},
                                  purpose_in_project(vyn_db(), "table of " + plot)});
}

}  // namespace vyn
