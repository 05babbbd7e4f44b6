#include "view/ui/graph/graph_export.h"

#include <QBuffer>
#include <QFileDialog>
#include <QPainter>
#include <QSvgGenerator>

#include <qwt_plot.h>
#include <qwt_plot_renderer.h>

#include "core/atomic_file.h"

namespace vyn {

namespace {

/// "csv" of "Table (*.csv)".
QString extension_of(const QString& filter) {
    return filter.section(QStringLiteral("*."), 1).section(QLatin1Char(')'), 0, 0);
}

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
    const bool drawing = QString::fromStdString(file.extension().string())
                             .compare(QStringLiteral(".svg"), Qt::CaseInsensitive) == 0;
    const QByteArray bytes = drawing ? svg_bytes(plot) : png_bytes(plot);
    write_file(file, std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

QString ask_graph_file(QWidget* parent, const QString& caption, const QStringList& filters) {
    QFileDialog dialog(parent, caption);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(filters);
    dialog.setDefaultSuffix(extension_of(filters.first()));
    QObject::connect(
        &dialog, &QFileDialog::filterSelected, &dialog,
        [&dialog](const QString& filter) { dialog.setDefaultSuffix(extension_of(filter)); });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().first();
}

}  // namespace vyn
